#include "store/StoreFixture.h"
#include "support/LoopStallProbe.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QCoreApplication>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

/// The store's end, and requests that have none.
class AppStoreLifetimeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { keyring.start(); }
    void init() { fixture = std::make_unique<StoreFixture>(); }
    void cleanup() { fixture.reset(); }

    void destroyingTheStoreEndsTheRequestsOfARefresh() {
        hangBackend();
        fixture->keepApiKey();
        fixture->start();
        QVERIFY(waitUntil([&] { return fixture->backend.count() == 3; }));
        QCOMPARE(fixture->backend.openConnections(), 3);
        fixture->stop();
        QVERIFY(waitUntil([&] { return fixture->backend.openConnections() == 0; }));
    }

    void destroyingTheStoreEndsARenewal() {
        fixture->identity.answer(tokenTarget, Answer::silence());
        keepSession();
        fixture->start();
        QVERIFY(waitUntil([&] { return fixture->identity.count() == 1; }));
        fixture->stop();
        QVERIFY(waitUntil([&] { return fixture->identity.openConnections() == 0; }));
        QCOMPARE(fixture->backend.count(), 0);
    }

    void destroyingTheStoreEndsEveryOperationAtOnce() {
        auto& store = fixture->startRefreshed();
        hangBackend();
        fixture->backend.answer(target::sync, Answer::silence());
        fixture->backend.answer(target::refresh, Answer::silence());
        fixture->backend.answer("/api/snapshot/2024-04-30", Answer::silence());
        store.start(store.refresh());
        store.start(store.syncNow());
        store.start(store.refreshFromBank());
        store.start(store.loadSnapshots());
        store.start(store.loadSnapshot(u"2024-04-30"_s));
        QVERIFY(waitUntil([&] { return fixture->backend.openConnections() == 6; })); // the rest wait
        fixture->stop();
        QVERIFY(waitUntil([&] { return fixture->backend.openConnections() == 0; }));
    }

    void theStoreMayGoAtAnyTurnOfTheLoop() {
        keepSession();
        fixture->keepApiKey();
        for (int turns = 0; turns < 25; ++turns) {
            fixture->start();
            for (int turn = 0; turn < turns; ++turn) {
                QCoreApplication::processEvents();
            }
            fixture->stop();
        }
        drainEvents();
        QVERIFY(waitUntil([&] { return fixture->backend.openConnections() == 0; }));
    }

    void theStoreMayGoWhileItAnnouncesAResult() {
        auto& store = fixture->startRefreshed();
        bool gone = false;
        const auto observation =
            store.lastError.observe(Published<std::optional<QString>>::Repeats::deliver, [&](const auto&) {
                QMetaObject::invokeMethod(
                    QCoreApplication::instance(),
                    [&] {
                        fixture->stop();
                        gone = true;
                    },
                    Qt::QueuedConnection);
            });
        store.start(store.refresh());
        QVERIFY(waitUntil([&] { return gone; }));
        drainEvents();
    }

    void aRequestThatHangsNeverBlocksTheLoop() {
        auto& store = fixture->startRefreshed();
        hangBackend();
        fixture->backend.answer(target::sync, Answer::silence());
        LoopStallProbe probe;
        for (int round = 0; round < 5; ++round) {
            fixture->notifications.post(notification::menuDidBeginTracking);
            fixture->clock.advance(300s);
            store.start(store.syncNow());
            drainEvents();
        }
        QVERIFY(waitUntil([&] { return fixture->backend.openConnections() == 6; })); // the rest wait
        QVERIFY(store.isLoading);
        QVERIFY(waitUntil([&] { return fixture->refreshes() > 1; }));
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
        QVERIFY2(probe.longestStall() < LoopStallProbe::budget,
                 qPrintable(QString::number(probe.longestStall().count())));
    }

    void aSecretServiceThatDoesNotAnswerNeverBlocksTheLoop() {
        keepSession();
        keyring.suspend();
        LoopStallProbe probe;
        auto& store = fixture->start();
        fixture->clock.advance(300s);
        fixture->notifications.post(notification::applicationDidBecomeActive);
        store.start(store.refresh()); // asked for by the user before anything is known
        store.start(store.loadSnapshots());
        drainEvents();
        QVERIFY2(!store.lastError->has_value(), "asked to sign in who may be signed in");
        QVERIFY(!store.timeline.get());
        QCOMPARE(fixture->backend.count(), 0);
        keyring.resume();
        QVERIFY(waitUntil([&] { return store.timeline.get() && !store.isLoading; }));
        QVERIFY(store.auth.isSignedIn());
        QVERIFY2(probe.longestStall() < LoopStallProbe::budget,
                 qPrintable(QString::number(probe.longestStall().count())));
    }

private:
    void hangBackend() {
        for (const auto& path : {target::status, target::timeline, target::snapshots}) {
            fixture->backend.answer(path, Answer::silence());
        }
    }

    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<StoreFixture> fixture;
};

QUILLO_TEST(AppStoreLifetimeTest, QCoreApplication)
#include "AppStoreLifetimeTest.moc"
