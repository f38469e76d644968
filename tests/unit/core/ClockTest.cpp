#include "core/Clock.h"
#include "support/ManualClock.h"
#include "support/Wait.h"

#include <QTest>

#include <ctime>

using namespace quillo;
using namespace quillo::test;
using namespace std::chrono_literals;

class ClockTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSystemClockCountsThroughSuspend() {
        timespec before{};
        clock_gettime(CLOCK_BOOTTIME, &before);
        const auto now = SystemClock().now().time_since_epoch();
        timespec after{};
        clock_gettime(CLOCK_BOOTTIME, &after);
        QVERIFY(now >= std::chrono::seconds(before.tv_sec));
        QVERIFY(now <= std::chrono::seconds(after.tv_sec + 1));
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

QTEST_GUILESS_MAIN(ClockTest)
#include "ClockTest.moc"
