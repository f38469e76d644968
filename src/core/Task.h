#pragma once

#include <version> // first: moc cannot read GCC 12's <coroutine> otherwise

#include <coroutine>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace quillo {

/// A suspending operation.
///
/// Calling a coroutine that returns `Task` starts it at once; it runs until it first waits. The `Task` owns
/// the coroutine: dropping it cancels the operation, because destroying the frame runs the destructors of
/// whatever it was waiting for (abort the request, stop the timer). Awaiting it takes its result or throws
/// what it threw.
///
/// A task that nobody awaits is handed to a `TaskScope`. Tasks belong to the thread that started them.
template <typename T = void>
class [[nodiscard]] Task;

namespace detail {

template <typename T>
class TaskPromise;

/// What the promises share: who waits for the end, and what was thrown.
template <typename T>
class TaskPromiseBase {
public:
    [[nodiscard]] Task<T> get_return_object() noexcept {
        return Task<T>(Task<T>::Handle::from_promise(static_cast<TaskPromise<T>&>(*this)));
    }

    /// Hands over to whoever awaits the task, without growing the stack.
    struct FinalAwaiter {
        [[nodiscard]] bool await_ready() const noexcept { return false; }
        template <typename Promise>
        [[nodiscard]] std::coroutine_handle<>
        await_suspend(std::coroutine_handle<Promise> finished) const noexcept {
            const auto waiting = finished.promise().waiting;
            return waiting ? waiting : std::noop_coroutine();
        }
        void await_resume() const noexcept {}
    };

    [[nodiscard]] std::suspend_never initial_suspend() const noexcept { return {}; }
    [[nodiscard]] FinalAwaiter final_suspend() const noexcept { return {}; }
    void unhandled_exception() noexcept { error = std::current_exception(); }

    void rethrowError() const {
        if (error) {
            std::rethrow_exception(error);
        }
    }

    std::coroutine_handle<> waiting;

private:
    std::exception_ptr error;
};

template <typename T>
class TaskPromise : public TaskPromiseBase<T> {
public:
    template <typename U>
    void return_value(U&& value) {
        result.emplace(std::forward<U>(value));
    }
    [[nodiscard]] T takeResult() {
        this->rethrowError();
        return std::move(*result);
    }

private:
    std::optional<T> result;
};

template <>
class TaskPromise<void> : public TaskPromiseBase<void> {
public:
    void return_void() const noexcept {}
    void takeResult() const { rethrowError(); }
};

} // namespace detail

template <typename T>
class [[nodiscard]] Task {
public:
    using promise_type = detail::TaskPromise<T>;
    using Handle = std::coroutine_handle<promise_type>;

    explicit Task(Handle owned) noexcept : frame(owned) {}
    Task(Task&& other) noexcept : frame(std::exchange(other.frame, {})) {}
    Task& operator=(Task&& other) noexcept {
        if (this != &other) {
            cancel();
            frame = std::exchange(other.frame, {});
        }
        return *this;
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() { cancel(); }

    /// Whether the operation has ended, with a result or by throwing.
    [[nodiscard]] bool isFinished() const noexcept { return frame && frame.done(); }

    /// Ends the operation where it waits and frees its frame. Not to be called by the operation itself.
    void cancel() noexcept {
        if (const auto owned = std::exchange(frame, {})) {
            owned.destroy();
        }
    }

    /// The result of a finished task; throws what the operation threw. May be called once.
    [[nodiscard]] T takeResult() { return frame.promise().takeResult(); }

    [[nodiscard]] bool await_ready() const noexcept { return frame.done(); }
    void await_suspend(std::coroutine_handle<> waiting) noexcept { frame.promise().waiting = waiting; }
    T await_resume() { return frame.promise().takeResult(); }

private:
    Handle frame;
};

} // namespace quillo
