#pragma once

#include <QDateTime>

#include <chrono>
#include <functional>
#include <memory>

namespace quillo {

/// The program's only source of time, so that tests decide how it passes.
class Clock {
public:
    using Duration = std::chrono::nanoseconds;

    /// Counts from the machine's start, runs on through suspend and ignores changes of the wall clock
    /// (CLOCK_BOOTTIME, clock_gettime(2)).
    struct SinceBoot {
        using duration = Duration;
        using rep = duration::rep;
        using period = duration::period;
        using time_point = std::chrono::time_point<SinceBoot, duration>;
        static constexpr bool is_steady = true;
    };
    using Instant = SinceBoot::time_point;

    /// Earlier than any real instant by more than any interval a user can choose; safe to subtract.
    static constexpr Instant distantPast{-std::chrono::hours(24 * 365 * 100)};

    enum class Repeat { once, forever };

    /// A running timer; destroying it stops it.
    class Timer {
    public:
        Timer() = default;
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;
        virtual ~Timer() = default;
    };

    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;

    /// For elapsed time and expiry.
    [[nodiscard]] virtual Instant now() const = 0;

    /// Local date and time, for showing only.
    [[nodiscard]] virtual QDateTime wallClock() const = 0;

    /// Calls `action` from the event loop of the calling thread after `interval`, once or again and again.
    [[nodiscard]] virtual std::unique_ptr<Timer> startTimer(Duration interval, Repeat repeat,
                                                            std::function<void()> action) = 0;
};

/// The machine's clock. Timers that go on and on, of a second or more, may fire up to 5 % or half a second
/// early or late, so that the system can wake once for several programs; those that fire once are never
/// early.
class SystemClock final : public Clock {
public:
    [[nodiscard]] Instant now() const override;
    [[nodiscard]] QDateTime wallClock() const override;
    [[nodiscard]] std::unique_ptr<Timer> startTimer(Duration interval, Repeat repeat,
                                                    std::function<void()> action) override;
};

} // namespace quillo
