#include "core/Clock.h"

#include <QTimer>

#include <ctime>

namespace quillo {

namespace {

class SystemTimer final : public Clock::Timer {
public:
    SystemTimer(Clock::Duration interval, Clock::Repeat repeat, std::function<void()> action) {
        // Qt rounds coarse timers of 20 seconds or more to whole seconds, up or down.
        const bool mayBeCoarse = repeat == Clock::Repeat::forever && interval >= std::chrono::seconds(1);
        timer.setTimerType(mayBeCoarse ? Qt::CoarseTimer : Qt::PreciseTimer);
        timer.setSingleShot(repeat == Clock::Repeat::once);
        QObject::connect(&timer, &QTimer::timeout, &timer, std::move(action));
        timer.start(std::chrono::ceil<std::chrono::milliseconds>(interval));
    }

private:
    QTimer timer;
};

} // namespace

Clock::Instant SystemClock::now() const {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return Instant(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

QDateTime SystemClock::wallClock() const {
    return QDateTime::currentDateTime();
}

std::unique_ptr<Clock::Timer> SystemClock::startTimer(Duration interval, Repeat repeat,
                                                      std::function<void()> action) {
    return std::make_unique<SystemTimer>(interval, repeat, std::move(action));
}

} // namespace quillo
