#include "auth/OnceFlag.h"
#include "support/TestMain.h"

#include <QTest>

#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

using namespace quillo;

class OnceFlagTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyTheFirstCallerIsLetThrough() {
        OnceFlag flag;
        QVERIFY(flag.fire());
        QVERIFY(!flag.fire());
        QVERIFY(!flag.fire());
    }

    void ofRacingThreadsExactlyOneIsLetThrough() {
        constexpr int racers = 8;
        for (int race = 0; race < 200; ++race) {
            OnceFlag flag;
            std::atomic<int> through = 0;
            std::barrier start(racers);
            std::vector<std::jthread> threads;
            for (int racer = 0; racer < racers; ++racer) {
                threads.emplace_back([&] {
                    start.arrive_and_wait();
                    through += flag.fire() ? 1 : 0;
                });
            }
            threads.clear();
            QCOMPARE(through.load(), 1);
        }
    }
};

QUILLO_TEST(OnceFlagTest, QCoreApplication)
#include "OnceFlagTest.moc"
