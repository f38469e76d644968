#pragma once

#include "core/Clock.h"

#include <list>

namespace quillo::test {

/// A clock that moves only when the test says so.
class ManualClock final : public Clock {
public:
    [[nodiscard]] Instant now() const override { return current; }
    [[nodiscard]] QDateTime wallClock() const override;
    [[nodiscard]] std::unique_ptr<Timer> startTimer(Duration interval, Repeat repeat,
                                                    std::function<void()> action) override;

    /// Moves on by `duration`, calling the timers that fall due on the way, each at its instant.
    void advance(Duration duration);

    /// Somebody sets the computer's clock forward, or back by a negative duration.
    void setWallClockForward(std::chrono::seconds duration) { wallClockShift += duration; }

    [[nodiscard]] std::size_t runningTimers() const { return timers.size(); }

private:
    class ManualTimer;

    std::list<ManualTimer*> timers;
    Instant current{std::chrono::hours(1)};
    std::chrono::seconds wallClockShift{0};
};

} // namespace quillo::test
