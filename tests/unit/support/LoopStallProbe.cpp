#include "support/LoopStallProbe.h"

#include <QFile>

#include <algorithm>

namespace quillo::test {

LoopStallProbe::LoopStallProbe() : last(now()) {
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] { tick(); });
    timer.start(std::chrono::milliseconds(1));
}

std::chrono::milliseconds LoopStallProbe::longestStall() {
    tick();
    return std::chrono::duration_cast<std::chrono::milliseconds>(longest);
}

LoopStallProbe::Instant LoopStallProbe::now() {
    Instant instant{std::chrono::steady_clock::now().time_since_epoch(), std::chrono::nanoseconds(0)};
    QFile statistics(QStringLiteral("/proc/thread-self/schedstat"));
    if (statistics.open(QIODevice::ReadOnly)) {
        const auto fields = statistics.readAll().split(' ');
        if (fields.size() > 1) {
            instant.waitedForProcessor = std::chrono::nanoseconds(fields.at(1).toLongLong());
        }
    }
    return instant;
}

void LoopStallProbe::tick() {
    const auto current = now();
    const auto kept = (current.wall - last.wall) - (current.waitedForProcessor - last.waitedForProcessor);
    longest = std::max(longest, kept);
    last = current;
}

} // namespace quillo::test
