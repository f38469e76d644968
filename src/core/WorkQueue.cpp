#include "core/WorkQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

namespace quillo {

/// Outlives the queue for as long as its thread is at work.
class WorkQueue::Shared {
public:
    Shared() { receiver.emplace(*this); }
    static void post(const std::shared_ptr<Shared>& self, Job job,
                     const std::shared_ptr<OneShotEvent>& ended);
    bool waitForJobs(std::chrono::milliseconds limit);
    void close();

private:
    struct Entry {
        Job job;
        std::weak_ptr<OneShotEvent> ended;
        bool isAwaited;

        [[nodiscard]] bool isForgotten() const { return isAwaited && ended.expired(); }
    };

    /// Hears on the queue's own thread that work has ended.
    class Receiver final : public QObject {
    public:
        explicit Receiver(Shared& owner) : shared(owner) {}
        bool event(QEvent* event) override {
            if (event->type() != QEvent::User) {
                return QObject::event(event);
            }
            shared.tellWhoWaits();
            return true;
        }

    private:
        Shared& shared;
    };

    void work();
    void tellWhoWaits();

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Entry> jobs;
    /// Who waits for work that has ended. Handed over here and not within an event, because the thread
    /// sanitizer knows this mutex and not those of Qt.
    std::deque<std::weak_ptr<OneShotEvent>> ended;
    std::optional<Receiver> receiver; ///< made and destroyed on the thread of the queue's owner
    std::thread thread;
    bool busy = false;
    bool closed = false;
};

void WorkQueue::Shared::post(const std::shared_ptr<Shared>& self, Job job,
                             const std::shared_ptr<OneShotEvent>& ended) {
    const std::lock_guard lock(self->mutex);
    if (self->closed) {
        return;
    }
    self->jobs.push_back({std::move(job), ended, ended != nullptr});
    if (!self->thread.joinable()) {
        self->thread = std::thread([self] { self->work(); });
    }
    self->changed.notify_all();
}

bool WorkQueue::Shared::waitForJobs(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, limit, [this] { return jobs.empty() && !busy; });
}

void WorkQueue::Shared::close() {
    std::deque<Entry> dropped;
    bool idle = false;
    {
        const std::lock_guard lock(mutex);
        closed = true;
        dropped.swap(jobs);
        receiver.reset();
        idle = !busy;
        changed.notify_all();
    }
    if (!thread.joinable()) {
        return;
    }
    if (idle) {
        thread.join();
    } else {
        thread.detach();
    }
}

void WorkQueue::Shared::work() {
    std::unique_lock lock(mutex);
    while (true) {
        changed.wait(lock, [this] { return closed || !jobs.empty(); });
        if (closed) {
            return;
        }
        auto next = std::move(jobs.front());
        jobs.pop_front();
        busy = true;
        lock.unlock();
        if (!next.isForgotten()) {
            next.job();
        }
        next.job = nullptr;
        lock.lock();
        busy = false;
        changed.notify_all();
        if (closed) {
            return;
        }
        if (next.isAwaited) {
            ended.push_back(std::move(next.ended));
            QCoreApplication::postEvent(&*receiver, new QEvent(QEvent::User));
        }
    }
}

void WorkQueue::Shared::tellWhoWaits() {
    std::deque<std::weak_ptr<OneShotEvent>> finished;
    {
        const std::lock_guard lock(mutex);
        finished.swap(ended);
    }
    for (const auto& one : finished) {
        if (const auto waiting = one.lock()) {
            waiting->fire();
        }
    }
}

WorkQueue::WorkQueue() : shared(std::make_shared<Shared>()) {}

WorkQueue::~WorkQueue() {
    shared->close();
}

void WorkQueue::post(Job job, const std::shared_ptr<OneShotEvent>& ended) {
    Shared::post(shared, std::move(job), ended);
}

void WorkQueue::post(const std::shared_ptr<Shared>& queue, Job job,
                     const std::shared_ptr<OneShotEvent>& ended) {
    Shared::post(queue, std::move(job), ended);
}

bool WorkQueue::waitForJobs(std::chrono::milliseconds limit) {
    return shared->waitForJobs(limit);
}

} // namespace quillo
