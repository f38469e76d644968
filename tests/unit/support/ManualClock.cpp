#include "support/ManualClock.h"

#include <algorithm>

namespace quillo::test {

class ManualClock::ManualTimer final : public Clock::Timer {
public:
    ManualTimer(std::list<ManualTimer*>& timers, Instant first, Duration between, Repeat repetition,
                std::function<void()> callback)
        : all(timers), due(first), interval(between), repeat(repetition), action(std::move(callback)) {
        all.push_back(this);
    }
    ~ManualTimer() override { all.remove(this); }

    std::list<ManualTimer*>& all;
    Instant due;
    Duration interval;
    Repeat repeat;
    std::function<void()> action;
    bool spent = false;
};

QDateTime ManualClock::wallClock() const {
    using std::chrono::duration_cast;
    return QDateTime(QDate(2024, 5, 1), QTime(0, 0), Qt::UTC)
        .addMSecs(duration_cast<std::chrono::milliseconds>(current.time_since_epoch()).count())
        .addSecs(wallClockShift.count());
}

std::unique_ptr<Clock::Timer> ManualClock::startTimer(Duration interval, Repeat repeat,
                                                      std::function<void()> action) {
    return std::make_unique<ManualTimer>(timers, current + interval, interval, repeat, std::move(action));
}

void ManualClock::advance(Duration duration) {
    const auto target = current + duration;
    while (true) {
        ManualTimer* next = nullptr;
        for (auto* timer : timers) {
            if (!timer->spent && timer->due <= target && (!next || timer->due < next->due)) {
                next = timer;
            }
        }
        if (!next) {
            break;
        }
        current = std::max(current, next->due);
        if (next->repeat == Repeat::forever) {
            next->due += next->interval;
        } else {
            next->spent = true;
        }
        const auto action = next->action; // the timer may be destroyed by its own action
        action();
    }
    current = target;
}

} // namespace quillo::test
