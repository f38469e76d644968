#pragma once

#include "core/Task.h"

#include <chrono>
#include <functional>

namespace quillo::test {

/// Runs the event loop until `condition` holds; false when `limit` passes first. The limit only ends a test
/// that has failed already.
[[nodiscard]] bool waitUntil(const std::function<bool()>& condition,
                             std::chrono::milliseconds limit = std::chrono::seconds(20));

/// Runs the event loop until everything that is posted now, and what that posts, has been delivered.
void drainEvents();

/// Runs the event loop until the task has ended, and takes its result or throws what it threw.
template <typename T>
T await(Task<T> task) {
    if (!waitUntil([&task] { return task.isFinished(); })) {
        qFatal("the task did not end");
    }
    return task.takeResult();
}

} // namespace quillo::test
