#include "core/WorkQueue.h"

#include "core/LocalizedError.h"
#include "core/TaskScope.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>
#include <QThread>

#include <atomic>
#include <future>
#include <vector>

using namespace quillo;
using namespace quillo::test;
using namespace std::chrono_literals;

namespace {

/// Work that the test lets go on.
struct HeldWork {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::promise<void> begun;

    [[nodiscard]] Task<> on(WorkQueue& queue) {
        return queue.run([this, mayEnd = released] {
            begun.set_value();
            mayEnd.wait();
        });
    }
};

/// Tells on which thread it is destroyed.
struct Traced {
    explicit Traced(std::atomic<QThread*>& place) : destroyedOn(&place) {}
    Traced(Traced&& other) noexcept : destroyedOn(std::exchange(other.destroyedOn, nullptr)) {}
    ~Traced() {
        if (destroyedOn) {
            *destroyedOn = QThread::currentThread();
        }
    }
    std::atomic<QThread*>* destroyedOn;
};

} // namespace

class WorkQueueTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void workIsDoneElsewhereInOrderAndItsResultsArriveHere() {
        std::vector<int> ended;
        bool allElsewhere = true;
        auto* const owner = QThread::currentThread();
        WorkQueue queue;
        TaskScope scope;
        const auto note = [&](int number) -> Task<> {
            auto work =
                queue.run([number, owner] { return std::pair(number, QThread::currentThread() != owner); });
            const auto [result, elsewhere] = co_await work;
            allElsewhere = allElsewhere && elsewhere && QThread::currentThread() == owner;
            ended.push_back(result);
        };
        for (int number = 0; number < 100; ++number) {
            scope.spawn(note(number));
        }
        QVERIFY(waitUntil([&] { return ended.size() == 100; }));
        QVERIFY(std::is_sorted(ended.begin(), ended.end()));
        QVERIFY(allElsewhere);
    }

    void whatWorkThrowsArrivesWhereItIsAwaited() {
        WorkQueue queue;
        const auto fail = []() -> int { throw LocalizedError(QStringLiteral("disk full")); };
        QVERIFY_THROWS_EXCEPTION(LocalizedError, await(queue.run(fail)));
    }

    void workWhoseTaskWasDroppedIsNotBegun() {
        WorkQueue queue;
        HeldWork first;
        auto held = first.on(queue);
        bool done = false;
        std::optional<Task<>> forgotten = queue.run([&done] { done = true; });
        forgotten.reset();
        first.release.set_value();
        await(std::move(held));
        QVERIFY(queue.waitForJobs(20s));
        QVERIFY(!done);
    }

    void theResultOfADroppedTaskIsForgotten() {
        WorkQueue queue;
        bool resumed = false;
        {
            TaskScope scope;
            const auto wait = [&]() -> Task<> {
                auto work = queue.run([] { return 1; });
                co_await work;
                resumed = true;
            };
            scope.spawn(wait());
            QVERIFY(queue.waitForJobs(20s));
        }
        drainEvents();
        QVERIFY(!resumed);
    }

    void aResultMayDestroyTheQueue() {
        auto queue = std::make_unique<WorkQueue>();
        TaskScope scope;
        bool destroyed = false;
        bool resumedAfterwards = false;
        const auto destroy = [&]() -> Task<> {
            auto work = queue->run([] {});
            co_await work;
            queue.reset();
            destroyed = true;
        };
        const auto wait = [&]() -> Task<> {
            HeldWork never;
            auto work = queue->run([never = never.released] { never.wait_for(10ms); });
            co_await work;
            resumedAfterwards = true;
        };
        scope.spawn(destroy());
        scope.spawn(wait());
        QVERIFY(waitUntil([&] { return destroyed; }));
        QTest::qWait(30);
        QVERIFY(!resumedAfterwards);
    }

    void aThreadAtWorkIsLeftBehindAndFurtherWorkIsDropped() {
        auto first = std::make_shared<HeldWork>();
        auto left = std::make_shared<std::promise<void>>();
        auto further = std::make_shared<std::atomic<bool>>(false);
        {
            WorkQueue queue;
            auto held = queue.run([first, left] {
                first->begun.set_value();
                first->released.wait();
                left->set_value();
            });
            auto next = queue.run([further] { *further = true; });
            first->begun.get_future().wait();
            QVERIFY(!queue.waitForJobs(1ms));
        }
        first->release.set_value();
        QCOMPARE(left->get_future().wait_for(20s), std::future_status::ready);
        QVERIFY(!*further);
    }

    void whatIsSharedIsDestroyedElsewhere() {
        std::atomic<QThread*> place = nullptr;
        WorkQueue queue;
        auto shared = queue.share(Traced(place));
        auto other = shared;
        shared.reset();
        QVERIFY(queue.waitForJobs(20s));
        QVERIFY(!place);
        other.reset();
        QVERIFY(queue.waitForJobs(20s));
        QVERIFY(place);
        QVERIFY(place != QThread::currentThread());
    }

    void whatIsSharedOutlivesTheQueue() {
        std::atomic<QThread*> place = nullptr;
        std::shared_ptr<Traced> shared;
        {
            WorkQueue queue;
            shared = queue.share(Traced(place));
        }
        QVERIFY(!place);
        shared.reset();
        QCOMPARE(place.load(), QThread::currentThread());
    }

    void waitingWithNothingToDoEndsAtOnce() {
        WorkQueue queue;
        QVERIFY(queue.waitForJobs(0ms));
    }
};

QUILLO_TEST(WorkQueueTest, QCoreApplication)
#include "WorkQueueTest.moc"
