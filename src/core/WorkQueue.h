#pragma once

#include "core/Awaiters.h"
#include "core/Task.h"

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <variant>

namespace quillo {

/// One thread of its own for work that blocks or takes long, one piece after the other in the order given.
/// The thread starts with the first piece; where the system has none to give, that is tried again until it
/// has. For the thread that made the queue, which has an event loop.
class WorkQueue {
public:
    WorkQueue();
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    /// Leaves the thread behind if it is at work, without waiting; who waits for a result then waits for
    /// ever. Work not begun is dropped. Work that was left behind may touch nothing but what it owns.
    ~WorkQueue();

    /// Does `work` on the queue's thread; its result, or what it throws, arrives on this one. What `work`
    /// holds is destroyed on the queue's thread. Dropping the task forgets the result, and work that has not
    /// begun by then is not done.
    template <typename Work>
    [[nodiscard]] Task<std::invoke_result_t<Work&>> run(Work work) {
        auto outcome = std::make_shared<Outcome<std::invoke_result_t<Work&>>>();
        auto ended = std::make_shared<OneShotEvent>();
        auto held = std::make_shared<Work>(std::move(work));
        post(
            shared, [outcome, held = std::move(held)] { outcome->fill(*held); }, ended);
        return take(std::move(outcome), std::move(ended));
    }

    /// The value with shared owners, which is destroyed on the queue's thread when the last of them lets go:
    /// a large one takes its time. Where it can once the queue is gone.
    template <typename T>
    [[nodiscard]] std::shared_ptr<T> share(T value) {
        const auto letGo = [queue = std::weak_ptr(shared)](T* large) {
            std::shared_ptr<T> last(large);
            if (const auto running = queue.lock()) {
                post(running, [last = std::move(last)] {}, {});
            }
        };
        return {new T(std::move(value)), letGo};
    }

    /// Waits for the work given so far, at most `limit`; false when it has not all ended by then. Results
    /// arrive later.
    [[nodiscard]] bool waitForJobs(std::chrono::milliseconds limit);

private:
    class Shared;
    using Job = std::function<void()>;

    /// What became of a piece of work.
    template <typename T>
    class Outcome {
    public:
        void fill(auto& work) noexcept {
            try {
                if constexpr (std::is_void_v<T>) {
                    work();
                    result.template emplace<1>();
                } else {
                    result.template emplace<1>(work());
                }
            } catch (...) {
                result = std::current_exception(); // whatever it is, it is for who waits
            }
        }
        [[nodiscard]] T take() {
            if (const auto* error = std::get_if<std::exception_ptr>(&result)) {
                std::rethrow_exception(*error);
            }
            if constexpr (!std::is_void_v<T>) {
                return std::get<1>(std::move(result));
            }
        }

    private:
        using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;
        std::variant<std::monostate, Value, std::exception_ptr> result;
    };

    template <typename T>
    static Task<T> take(std::shared_ptr<Outcome<T>> outcome, std::shared_ptr<OneShotEvent> ended) {
        auto& event = *ended;
        co_await event;
        co_return outcome->take();
    }

    static void post(const std::shared_ptr<Shared>& queue, Job job,
                     const std::shared_ptr<OneShotEvent>& ended);

    std::shared_ptr<Shared> shared;
};

} // namespace quillo
