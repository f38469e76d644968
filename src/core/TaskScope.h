#pragma once

#include "core/Task.h"

#include <functional>
#include <memory>

namespace quillo {

/// Owns tasks that nobody awaits. They end with the scope at the latest.
///
/// A task that throws is a fault of the program (operations handed to a scope report their failures
/// themselves), so an exception that arrives here ends it and never vanishes.
class TaskScope {
public:
    TaskScope();
    TaskScope(const TaskScope&) = delete;
    TaskScope& operator=(const TaskScope&) = delete;

    /// Cancels every task that still runs. May happen from inside one of them: its frame then lives until the
    /// next turn of the loop, and whatever it owns with it.
    ~TaskScope();

    /// Takes the task over. The frame of a task that ends is freed on a later turn of the loop.
    void spawn(Task<void> task);

    /// Starts the operation on the next turn of the loop: for observers of an announcement, in which the old
    /// value still holds.
    void spawnLater(std::function<Task<void>()> operation);

    /// Cancels every task that still runs, as the destructor does. When a task is the caller, the others end
    /// on the next turn of the loop as well: one whose wait is over by then goes on until its next wait.
    void cancelAll();

    /// Tasks that have not ended.
    [[nodiscard]] std::size_t count() const noexcept;

private:
    struct State;
    static Task<void> supervise(std::shared_ptr<State> state, std::size_t key, Task<void> task);

    std::shared_ptr<State> state;
};

} // namespace quillo
