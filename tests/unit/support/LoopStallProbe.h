#pragma once

#include <QTimer>

#include <chrono>

namespace quillo::test {

/// Measures for how long the event loop of this thread was kept from running since the probe was made.
///
/// Time for which the thread could have run but another had the processor does not count (Linux,
/// /proc/thread-self/schedstat), so that a busy machine fails no test.
class LoopStallProbe {
public:
    /// No step of the main thread may take longer than 16 ms. Code that is not optimised runs some four times
    /// slower, code under the address sanitizer ten times; the thread sanitizer takes up to a second for a
    /// report, one that is suppressed too.
#if defined(__SANITIZE_THREAD__)
    static constexpr std::chrono::milliseconds budget{2000};
#elif defined(__SANITIZE_ADDRESS__)
    static constexpr std::chrono::milliseconds budget{16 * 10};
#elif !defined(__OPTIMIZE__)
    static constexpr std::chrono::milliseconds budget{16 * 4};
#else
    static constexpr std::chrono::milliseconds budget{16};
#endif

    LoopStallProbe();

    [[nodiscard]] std::chrono::milliseconds longestStall();

private:
    struct Instant {
        std::chrono::nanoseconds wall;
        std::chrono::nanoseconds waitedForProcessor;
    };
    [[nodiscard]] static Instant now();
    void tick();

    QTimer timer;
    Instant last;
    std::chrono::nanoseconds longest{0};
};

} // namespace quillo::test
