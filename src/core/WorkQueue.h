#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace quillo {

/// One thread of its own for work that blocks, one job after the other in the order given.
///
/// The thread starts with the first job. A job returns what is to happen with its result; that runs on the
/// thread that made the queue, from its event loop, and never once the queue is gone.
class WorkQueue {
public:
    /// May be empty when nothing is to happen.
    using Completion = std::function<void()>;
    using Job = std::function<Completion()>;

    WorkQueue();
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    /// Leaves the thread behind if it is at work, without waiting. Jobs not begun are dropped. A job that was
    /// left behind may touch nothing but what it owns.
    ~WorkQueue();

    void post(Job job);

    /// Waits for the jobs given so far, at most `limit`; false when they have not all ended by then. Their
    /// completions run later.
    [[nodiscard]] bool waitForJobs(std::chrono::milliseconds limit);

private:
    class Shared;
    std::shared_ptr<Shared> shared;
};

} // namespace quillo
