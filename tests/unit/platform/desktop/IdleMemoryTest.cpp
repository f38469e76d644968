#include "platform/desktop/IdleMemory.h"

#include "support/TestMain.h"
#include "support/Wait.h"

#include <QElapsedTimer>
#include <QTest>

using namespace quillo;
using quillo::test::waitUntil;

class IdleMemoryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void memoryIsGivenBackOnceHoweverMuchHappens() {
        int times = 0;
        IdleMemory memory([&times] { ++times; });

        memory.noteActivity();
        memory.noteActivity();

        QVERIFY(waitUntil([&times] { return times > 0; }));
        QElapsedTimer since;
        since.start();
        QVERIFY(waitUntil([&since] { return since.hasExpired(2 * IdleMemory::rest.count()); }));
        QCOMPARE(times, 1);
    }

    void nothingIsGivenBackWhileThingsGoOn() {
        QElapsedTimer sinceActivity;
        qint64 restedFor = 0;
        IdleMemory memory([&] { restedFor = sinceActivity.elapsed(); });
        QElapsedTimer busy;
        busy.start();

        while (!busy.hasExpired(2 * IdleMemory::rest.count())) {
            memory.noteActivity();
            sinceActivity.start();
            QCoreApplication::processEvents();
        }

        QVERIFY(waitUntil([&restedFor] { return restedFor > 0; }));
        QVERIFY(restedFor >= IdleMemory::rest.count() * 9 / 10);
    }

    void laterActivityIsFollowedByAnotherTime() {
        int times = 0;
        IdleMemory memory([&times] { ++times; });
        memory.noteActivity();
        QVERIFY(waitUntil([&times] { return times == 1; }));

        memory.noteActivity();

        QVERIFY(waitUntil([&times] { return times == 2; }));
    }
};

QUILLO_TEST(IdleMemoryTest, QCoreApplication)
#include "IdleMemoryTest.moc"
