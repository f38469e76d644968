#pragma once

#include "Samples.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <algorithm>
#include <vector>

namespace quillo::bench {

/// What this process has computed so far on all of its threads, in milliseconds.
[[nodiscard]] inline double processMilliseconds() {
    return computedMilliseconds(CLOCK_PROCESS_CPUTIME_ID);
}

/// The times of operations that begin with a call and end some turns of the event loop later: of each the
/// longest turn of the main thread, and what all threads computed until its end. A benchmark tells medians
/// and 99th percentiles, in milliseconds, as `turn…` and `total…`.
class Turns {
public:
    /// Calls `begin`, then runs the loop until `isDone`. The benchmark fails when that takes a minute.
    void measure(benchmark::State& state, const auto& begin, const auto& isDone) {
        QTimer waking; // a loop in which nothing happens any more must see the deadline pass
        waking.start(100);
        const QDeadlineTimer deadline(60'000);
        const double start = processMilliseconds();
        double longest = timed(begin);
        while (!isDone()) {
            if (deadline.hasExpired()) {
                qFatal("nothing is painted any more");
            }
            longest = std::max(longest,
                               timed([] { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents); }));
        }
        totals.push_back(processMilliseconds() - start);
        turns.push_back(longest);
        state.SetIterationTime(totals.back() / 1e3);
    }

    void report(benchmark::State& state) {
        Samples::count(state, "turn", turns);
        Samples::count(state, "total", totals);
    }

private:
    static double timed(const auto& operation) {
        const double start = computedMilliseconds();
        operation();
        return computedMilliseconds() - start;
    }

    std::vector<double> turns;
    std::vector<double> totals;
};

} // namespace quillo::bench
