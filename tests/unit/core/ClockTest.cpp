#include "core/Clock.h"
#include "support/ManualClock.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

#include <ctime>

#include <sys/syscall.h>
#include <unistd.h>

using namespace quillo;
using namespace quillo::test;
using namespace std::chrono_literals;

namespace {

/// How long the machine has been asleep, which only CLOCK_BOOTTIME counts (clock_gettime(2)).
std::chrono::seconds asleep{0};
/// By how much somebody has set the computer's clock forward.
std::chrono::seconds setForward{0};

} // namespace

/// In the C library's place, for this whole test: the clocks of a machine that has slept or was set.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (clock == CLOCK_BOOTTIME) {
        time->tv_sec += asleep.count();
    } else if (clock == CLOCK_REALTIME) {
        time->tv_sec += setForward.count();
    }
    return result;
}

class ClockTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() {
        asleep = 0s;
        setForward = 0s;
    }

    void theSystemClockCountsThroughSuspend() {
        const auto before = SystemClock().now();
        asleep = 1h;
        const auto passed = SystemClock().now() - before;
        QVERIFY(passed >= 1h);
        QVERIFY(passed < 1h + 10min);
    }

    void theSystemClockIgnoresThatSomebodySetsTheComputersClock() {
        const auto before = SystemClock().now();
        for (const auto change : {-24h, 24h}) {
            setForward = change;
            const auto passed = SystemClock().now() - before;
            QVERIFY(passed >= 0s);
            QVERIFY(passed < 10min);
        }
    }

    void theDistantPastIsSafeToSubtract() {
        const auto elapsed = SystemClock().now() - Clock::distantPast;
        QVERIFY(elapsed > std::chrono::hours(24 * 365 * 50));
    }

    void aSystemTimerFiresFromTheEventLoop() {
        SystemClock clock;
        int calls = 0;
        const auto timer = clock.startTimer(1ms, Clock::Repeat::forever, [&] { ++calls; });
        QCOMPARE(calls, 0);
        QVERIFY(waitUntil([&] { return calls >= 3; }));
    }

    void destroyingATimerStopsItEvenFromItsOwnAction() {
        SystemClock clock;
        int calls = 0;
        std::unique_ptr<Clock::Timer> timer;
        timer = clock.startTimer(1ms, Clock::Repeat::forever, [&] {
            ++calls;
            timer.reset();
        });
        QVERIFY(waitUntil([&] { return !timer; }));
        drainEvents();
        QCOMPARE(calls, 1);
    }

    void aManualTimerFiresAtItsInstantAndInOrder() {
        ManualClock clock;
        std::vector<std::pair<int, Clock::Duration>> fired;
        const auto start = clock.now();
        const auto note = [&](int number) { fired.emplace_back(number, clock.now() - start); };
        const auto slow = clock.startTimer(30s, Clock::Repeat::forever, [&] { note(1); });
        const auto once = clock.startTimer(20s, Clock::Repeat::once, [&] { note(2); });
        clock.advance(65s);
        const std::vector<std::pair<int, Clock::Duration>> expected{{2, 20s}, {1, 30s}, {1, 60s}};
        QCOMPARE(fired, expected);
    }
};

QUILLO_TEST(ClockTest, QCoreApplication)
#include "ClockTest.moc"
