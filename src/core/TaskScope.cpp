#include "core/TaskScope.h"

#include "core/Awaiters.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>

#include <exception>
#include <map>
#include <utility>
#include <vector>

namespace quillo {

/// Shared with the supervisors, because the scope may be destroyed from inside one of its tasks.
struct TaskScope::State {
    std::map<std::size_t, Task<void>> running;
    std::vector<Task<void>> ended;
    std::size_t nextKey = 0;
    QObject context;

    void finished(std::size_t key) {
        const auto entry = running.find(key);
        if (entry == running.end()) {
            return; // ended before it was entered, or was cancelled from inside itself
        }
        // The caller is the supervisor whose frame this is, so freeing it has to wait until it has returned.
        if (ended.empty()) {
            QMetaObject::invokeMethod(
                &context, [this] { ended.clear(); }, Qt::QueuedConnection);
        }
        ended.push_back(std::move(entry->second));
        running.erase(entry);
    }
};

TaskScope::TaskScope() : state(std::make_shared<State>()) {}

TaskScope::~TaskScope() {
    cancelAll();
}

void TaskScope::spawn(Task<void> task) {
    const auto key = state->nextKey++;
    auto supervised = supervise(state, key, std::move(task));
    if (!supervised.isFinished()) {
        state->running.emplace(key, std::move(supervised));
    }
}

void TaskScope::spawnLater(std::function<Task<void>()> operation) {
    const auto wait = [](std::function<Task<void>()> awaited) -> Task<void> {
        OneShotEvent nextTurn;
        nextTurn.fire();
        co_await nextTurn;
        auto task = awaited();
        co_await task;
    };
    spawn(wait(std::move(operation)));
}

void TaskScope::cancelAll() {
    auto dropped = std::make_shared<std::vector<Task<void>>>(std::exchange(state->ended, {}));
    for (auto& [key, task] : std::exchange(state->running, {})) {
        dropped->push_back(std::move(task));
    }
    if (isResuming()) {
        // One of these may be the caller: a frame must outlive the call that runs in it.
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [dropped] { dropped->clear(); }, Qt::QueuedConnection);
    }
}

std::size_t TaskScope::count() const noexcept {
    return state->running.size();
}

Task<void> TaskScope::supervise(std::shared_ptr<State> state, std::size_t key, Task<void> task) {
    try {
        co_await task;
    } catch (...) {
        std::terminate();
    }
    state->finished(key);
}

} // namespace quillo
