#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <time.h>
#include <vector>

namespace quillo::bench {

/// What a thread, by default this one, has computed so far, in milliseconds, the system's work for it
/// included: a busy machine does not spoil it.
[[nodiscard]] inline double computedMilliseconds(clockid_t clock = CLOCK_THREAD_CPUTIME_ID) {
    timespec time{};
    clock_gettime(clock, &time);
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
}

/// The times of single operations, of which a benchmark tells the median and the 99th percentile, in
/// milliseconds.
class Samples {
public:
    void time(benchmark::State& state, const auto& operation) {
        const double start = computedMilliseconds();
        operation();
        times.push_back(computedMilliseconds() - start);
        state.SetIterationTime(times.back() / 1e3);
    }

    void report(benchmark::State& state) { count(state, "", times); }

    /// Tells of `times` under names that begin so.
    static void count(benchmark::State& state, const std::string& name, std::vector<double> times) {
        std::sort(times.begin(), times.end());
        state.counters[name + "median"] = times[times.size() / 2];
        state.counters[name + "p99"] = times[times.size() * 99 / 100];
    }

private:
    std::vector<double> times;
};

} // namespace quillo::bench
