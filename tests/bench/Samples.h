#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <time.h>
#include <vector>

namespace quillo::bench {

/// What this thread has computed so far, in milliseconds, the system's work for it included: a busy machine
/// does not spoil it.
[[nodiscard]] inline double computedMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
}

/// The times of single operations, of which a benchmark tells the median and the 99th percentile, in
/// milliseconds.
class Samples {
public:
    template <typename Operation>
    void time(benchmark::State& state, Operation operation) {
        const double start = computedMilliseconds();
        operation();
        times.push_back(computedMilliseconds() - start);
        state.SetIterationTime(times.back() / 1e3);
    }

    void report(benchmark::State& state) {
        std::sort(times.begin(), times.end());
        state.counters["median"] = times[times.size() / 2];
        state.counters["p99"] = times[times.size() * 99 / 100];
    }

private:
    std::vector<double> times;
};

} // namespace quillo::bench
