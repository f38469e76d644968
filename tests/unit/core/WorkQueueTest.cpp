#include "core/WorkQueue.h"

#include "support/Wait.h"

#include <QTest>
#include <QThread>

#include <future>
#include <vector>

using namespace quillo;
using namespace quillo::test;
using namespace std::chrono_literals;

class WorkQueueTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void jobsRunInOrderAndTheirCompletionsOnTheOwnersThread() {
        std::vector<int> ended;
        auto* const owner = QThread::currentThread();
        WorkQueue queue;
        for (int number = 0; number < 100; ++number) {
            queue.post([&ended, number, owner]() -> WorkQueue::Completion {
                const bool elsewhere = QThread::currentThread() != owner;
                return [&ended, number, elsewhere, owner] {
                    QVERIFY(elsewhere);
                    QCOMPARE(QThread::currentThread(), owner);
                    ended.push_back(number);
                };
            });
        }
        QVERIFY(waitUntil([&] { return ended.size() == 100; }));
        QVERIFY(std::is_sorted(ended.begin(), ended.end()));
    }

    void aCompletionMayDestroyTheQueue() {
        auto queue = std::make_unique<WorkQueue>();
        bool destroyed = false;
        bool ranAfterwards = false;
        queue->post([&]() -> WorkQueue::Completion {
            return [&] {
                queue.reset();
                destroyed = true;
            };
        });
        queue->post([&]() -> WorkQueue::Completion { return [&] { ranAfterwards = true; }; });
        QVERIFY(queue->waitForJobs(20s));
        QVERIFY(waitUntil([&] { return destroyed; }));
        drainEvents();
        QVERIFY(!ranAfterwards);
    }

    void nothingIsHeardOfAQueueThatIsGone() {
        bool heard = false;
        {
            WorkQueue queue;
            queue.post([&]() -> WorkQueue::Completion { return [&] { heard = true; }; });
            QVERIFY(queue.waitForJobs(20s));
        }
        drainEvents();
        QVERIFY(!heard);
    }

    void aThreadAtWorkIsLeftBehindAndItsFurtherJobsAreDropped() {
        auto release = std::make_shared<std::promise<void>>();
        auto released = release->get_future().share();
        auto left = std::make_shared<std::promise<void>>();
        auto begun = std::make_shared<std::promise<void>>();
        auto further = std::make_shared<std::atomic<bool>>(false);
        {
            WorkQueue queue;
            queue.post([released, left, begun]() -> WorkQueue::Completion {
                begun->set_value();
                released.wait();
                left->set_value();
                return {};
            });
            queue.post([further]() -> WorkQueue::Completion {
                *further = true;
                return {};
            });
            begun->get_future().wait();
            QVERIFY(!queue.waitForJobs(1ms));
        }
        release->set_value();
        QCOMPARE(left->get_future().wait_for(20s), std::future_status::ready);
        QVERIFY(!*further);
    }

    void waitingWithNothingToDoEndsAtOnce() {
        WorkQueue queue;
        QVERIFY(queue.waitForJobs(0ms));
    }
};

QTEST_GUILESS_MAIN(WorkQueueTest)
#include "WorkQueueTest.moc"
