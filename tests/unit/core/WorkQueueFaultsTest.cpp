#include "core/WorkQueue.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

#include <atomic>
#include <memory>

#include <dlfcn.h>
#include <pthread.h>

using namespace quillo;
using namespace quillo::test;
using namespace std::chrono_literals;

namespace {

std::atomic_int threadsToRefuse = 0;

} // namespace

/// The threads of this program: as many as the test says are refused, as by a system that has none to give.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                              void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto system = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    if (threadsToRefuse > 0) {
        --threadsToRefuse;
        return EAGAIN;
    }
    return system(thread, attributes, routine, argument);
}

class WorkQueueFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { threadsToRefuse = 0; }

    void aThreadThatCannotBeStartedEndsNothingAndTheWorkIsDoneLater_data() {
        QTest::addColumn<int>("refused");
        QTest::newRow("once") << 1;
        QTest::newRow("twice") << 2;
        QTest::newRow("several times") << 5;
    }
    void aThreadThatCannotBeStartedEndsNothingAndTheWorkIsDoneLater() {
        QFETCH(int, refused);
        WorkQueue queue;
        threadsToRefuse = refused;
        auto first = queue.run([] { return 1; });
        auto second = queue.run([] { return 2; });
        QCOMPARE(await(std::move(first)), 1);
        QCOMPARE(await(std::move(second)), 2);
        QCOMPARE(threadsToRefuse.load(), 0);
    }

    void whoWaitsForWorkWithoutAThreadWaitsForTheThreadToo() {
        WorkQueue queue;
        const auto done = std::make_shared<std::atomic_bool>(false);
        threadsToRefuse = 3;
        const auto work = queue.run([done] { *done = true; });
        QVERIFY(queue.waitForJobs(20s));
        QVERIFY(*done);
    }

    void whoWaitsForWorkThatNeverGetsAThreadWaitsToTheLimitOnly() {
        WorkQueue queue;
        threadsToRefuse = 1'000'000;
        const auto work = queue.run([] {});
        QVERIFY(!queue.waitForJobs(10ms));
    }

    void aQueueThatNeverGotAThreadEndsWithItsWork() {
        auto held = std::make_shared<int>(1);
        {
            WorkQueue queue;
            threadsToRefuse = 1'000'000;
            const auto work = queue.run([held] { return *held; });
            QVERIFY(held.use_count() > 1);
        }
        QCOMPARE(held.use_count(), 1L);
    }
};

QUILLO_TEST(WorkQueueFaultsTest, QCoreApplication)
#include "WorkQueueFaultsTest.moc"
