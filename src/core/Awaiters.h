#pragma once

#include "core/Clock.h"

#include <QObject>

#include <chrono>
#include <coroutine>
#include <memory>
#include <utility>

namespace quillo {

/// Whether a coroutine that waited is being continued right now on this thread.
[[nodiscard]] bool isResuming() noexcept;

/// Lets a coroutine wait for one event that callbacks report.
///
/// The coroutine continues on a later turn of the loop than the one in which `fire` was called, never inside
/// it, so that nothing resumes inside `abort()` or a signal's emitter. An event that fires before it is
/// awaited is kept. Destroying the event forgets the coroutine.
class OneShotEvent {
public:
    OneShotEvent() = default;
    OneShotEvent(const OneShotEvent&) = delete;
    OneShotEvent& operator=(const OneShotEvent&) = delete;

    /// Reports the event; calls after the first do nothing.
    void fire();

    [[nodiscard]] bool await_ready() const noexcept { return arrived; }
    void await_suspend(std::coroutine_handle<> coroutine) noexcept { waiting = coroutine; }
    void await_resume() const noexcept {}

    /// Dies with the event; connections made with it as their context end then.
    [[nodiscard]] QObject& context() noexcept { return receiver; }

private:
    void arrive();

    QObject receiver;
    std::coroutine_handle<> waiting;
    bool fired = false;
    bool arrived = false;
};

/// Waits until `sender` emits `signal` for the first time after this was made.
class UntilEmitted : public OneShotEvent {
public:
    template <typename Sender, typename Signal>
    UntilEmitted(const Sender* sender, Signal signal) {
        QObject::connect(sender, signal, &context(), [this] { fire(); });
    }
};

/// Waits until the clock has moved on by `duration`. Dropping it stops the timer.
class Sleep : public OneShotEvent {
public:
    Sleep(Clock& clock, Clock::Duration duration)
        : timer(clock.startTimer(duration, Clock::Repeat::once, [this] { fire(); })) {}

private:
    std::unique_ptr<Clock::Timer> timer;
};

} // namespace quillo
