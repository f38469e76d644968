#include "core/WorkQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace quillo {

/// Outlives the queue for as long as its thread is at work.
class WorkQueue::Shared {
public:
    static void post(const std::shared_ptr<Shared>& self, Job job);
    bool waitForJobs(std::chrono::milliseconds limit);
    void close();

private:
    /// Hears on the queue's own thread that completions have come.
    class Receiver final : public QObject {
    public:
        explicit Receiver(std::weak_ptr<Shared> owner) : shared(std::move(owner)) {}
        bool event(QEvent* event) override {
            if (event->type() != QEvent::User) {
                return QObject::event(event);
            }
            if (const auto held = shared.lock()) {
                held->runCompletions(); // may destroy the queue, and this receiver with it
            }
            return true;
        }

    private:
        std::weak_ptr<Shared> shared;
    };

    void work();
    void runCompletions();
    Completion takeCompletion();

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Job> jobs;
    std::deque<Completion> completions;
    std::unique_ptr<Receiver> receiver;
    std::thread thread;
    bool busy = false;
    bool closed = false;
};

void WorkQueue::Shared::post(const std::shared_ptr<Shared>& self, Job job) {
    const std::lock_guard lock(self->mutex);
    self->jobs.push_back(std::move(job));
    if (!self->thread.joinable()) {
        self->receiver = std::make_unique<Receiver>(self);
        self->thread = std::thread([self] { self->work(); });
    }
    self->changed.notify_all();
}

bool WorkQueue::Shared::waitForJobs(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, limit, [this] { return jobs.empty() && !busy; });
}

void WorkQueue::Shared::close() {
    std::deque<Job> dropped;
    std::deque<Completion> unheard;
    bool idle = false;
    {
        const std::lock_guard lock(mutex);
        closed = true;
        dropped.swap(jobs);
        unheard.swap(completions);
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
        auto job = std::move(jobs.front());
        jobs.pop_front();
        busy = true;
        lock.unlock();
        auto completion = job();
        job = nullptr;
        lock.lock();
        busy = false;
        changed.notify_all();
        if (closed) {
            return;
        }
        if (completion) {
            completions.push_back(std::move(completion));
            QCoreApplication::postEvent(receiver.get(), new QEvent(QEvent::User));
        }
    }
}

void WorkQueue::Shared::runCompletions() {
    while (const auto completion = takeCompletion()) {
        completion();
    }
}

WorkQueue::Completion WorkQueue::Shared::takeCompletion() {
    const std::lock_guard lock(mutex);
    if (completions.empty()) {
        return {};
    }
    auto first = std::move(completions.front());
    completions.pop_front();
    return first;
}

WorkQueue::WorkQueue() : shared(std::make_shared<Shared>()) {}

WorkQueue::~WorkQueue() {
    shared->close();
}

void WorkQueue::post(Job job) {
    Shared::post(shared, std::move(job));
}

bool WorkQueue::waitForJobs(std::chrono::milliseconds limit) {
    return shared->waitForJobs(limit);
}

} // namespace quillo
