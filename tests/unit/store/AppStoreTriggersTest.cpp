#include "platform/secrets/Keychain.h"
#include "store/StoreFixture.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/Wait.h"

#include <QTest>

#include <limits>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

/// When the store refreshes by itself.
class AppStoreTriggersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { keyring.start(); }
    void init() { fixture = std::make_unique<StoreFixture>(); }
    void cleanup() { fixture.reset(); }

    void exactlyOneRefreshIsMadeAtStartWithAnApiKey() {
        fixture->startRefreshed();
        drainEvents();
        QCOMPARE(fixture->refreshes(), 1);
        QCOMPARE(fixture->identity.count(), 0);
    }

    void exactlyOneRefreshIsMadeAtStartWithAStoredSession() {
        keepSession();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        drainEvents();
        QVERIFY(store.auth.isSignedIn());
        QCOMPARE(fixture->refreshes(), 1);
        QCOMPARE(fixture->identity.count(), 1);
        QCOMPARE(fixture->backend.requests(target::status).at(0).values("Authorization"),
                 QList<QByteArray>{"Bearer access-1"});
    }

    void exactlyOneRefreshIsMadeAtStartWithBothCredentials() {
        keepSession();
        fixture->keepApiKey();
        fixture->start();
        fixture->waitUntilSettled();
        drainEvents();
        QCOMPARE(fixture->refreshes(), 1);
        QVERIFY(fixture->backend.requests(target::status).at(0).values("X-API-Key").isEmpty());
    }

    void theRefreshAtStartDoesNotDependOnTheInterval() {
        fixture->defaults.setInteger(u"refreshInterval"_s, 0);
        fixture->startRefreshed();
        QCOMPARE(fixture->refreshes(), 1);
    }

    void withoutAPositiveIntervalNoTriggerRefreshes_data() {
        QTest::addColumn<qint64>("interval");
        QTest::newRow("manual only") << qint64{0};
        QTest::newRow("negative") << qint64{-300};
        QTest::newRow("most negative") << std::numeric_limits<qint64>::min();
    }
    void withoutAPositiveIntervalNoTriggerRefreshes() {
        QFETCH(qint64, interval);
        fixture->defaults.setInteger(u"refreshInterval"_s, interval);
        auto& store = fixture->startRefreshed();
        fixture->clock.advance(24h);
        pullEveryTrigger();
        QVERIFY(!store.isLoading);
        QCOMPARE(fixture->refreshes(), 1);
    }

    void explicitActionsRefreshWithoutAnInterval() {
        fixture->defaults.setInteger(u"refreshInterval"_s, 0);
        auto& store = fixture->startRefreshed();
        await(store.syncNow());
        QCOMPARE(fixture->refreshes(), 2);
        await(store.refresh());
        QCOMPARE(fixture->refreshes(), 3);
        fixture->backend.answer(target::refresh, Answer::http(200));
        auto pull = store.refreshFromBank();
        QVERIFY(waitUntil([&] { return fixture->clock.runningTimers() == 2; })); // the heartbeat, the wait
        fixture->clock.advance(20s);
        await(std::move(pull));
        QCOMPARE(fixture->refreshes(), 4);
    }

    void aTriggerRefreshesOnceTheIntervalHasPassed_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("wake") << notification::workspaceDidWake.toString();
        QTest::newRow("became active") << notification::applicationDidBecomeActive.toString();
        QTest::newRow("menu") << notification::menuDidBeginTracking.toString();
    }
    void aTriggerRefreshesOnceTheIntervalHasPassed() {
        QFETCH(QString, name);
        startRefreshedAfter(10s); // the heartbeat is then out of step with the interval
        auto& store = fixture->store();
        fixture->clock.advance(299s);
        fixture->notifications.post(name);
        drainEvents();
        QVERIFY(!store.isLoading);
        QCOMPARE(fixture->refreshes(), 1);
        fixture->clock.advance(1s);
        QVERIFY(!store.isLoading);
        fixture->notifications.post(name);
        QVERIFY(store.isLoading);
        QVERIFY(waitUntil([&] { return !store.isLoading; }));
        QCOMPARE(fixture->refreshes(), 2);
        fixture->notifications.post(name);
        QVERIFY(!store.isLoading); // the interval begins anew
    }

    void settingTheComputersClockNeitherHastensNorDelaysARefresh() {
        auto& store = fixture->startRefreshed();
        const auto menuOpens = [&] {
            fixture->notifications.post(notification::menuDidBeginTracking);
            return store.isLoading.get();
        };
        fixture->clock.setWallClockForward(24h);
        QVERIFY(!menuOpens());
        fixture->clock.setWallClockForward(-48h);
        QVERIFY(!menuOpens());
        fixture->clock.advance(299s);
        drainEvents();
        QVERIFY(!menuOpens());
        fixture->clock.advance(1s);
        QVERIFY(store.isLoading || menuOpens());
        QVERIFY(waitUntil([&] { return !store.isLoading; }));
        QCOMPARE(fixture->refreshes(), 2);
    }

    void theHeartbeatRefreshesAtItsFirstBeatAfterTheInterval() {
        startRefreshedAfter(10s);
        auto& store = fixture->store();
        fixture->clock.advance(319s); // 329 s since the start; due since 310 s
        drainEvents();
        QCOMPARE(fixture->refreshes(), 1);
        fixture->clock.advance(1s);
        QVERIFY(store.isLoading);
        QVERIFY(waitUntil([&] { return !store.isLoading; }));
        QCOMPARE(fixture->refreshes(), 2);
    }

    void aHeartbeatRefreshesAgainAndAgain() {
        auto& store = fixture->startRefreshed();
        for (int round = 2; round <= 5; ++round) {
            fixture->clock.advance(300s);
            QVERIFY(store.isLoading);
            QVERIFY(waitUntil([&] { return !store.isLoading; }));
            QCOMPARE(fixture->refreshes(), round);
        }
    }

    void anIntervalUnderThirtySecondsBehavesAsThirty() {
        fixture->defaults.setInteger(u"refreshInterval"_s, 1);
        auto& store = fixture->startRefreshed();
        fixture->clock.advance(29s);
        drainEvents();
        QCOMPARE(fixture->refreshes(), 1);
        fixture->clock.advance(1s);
        QVERIFY(store.isLoading);
        QVERIFY(waitUntil([&] { return !store.isLoading; }));
        fixture->clock.advance(29s);
        drainEvents();
        QCOMPARE(fixture->refreshes(), 2);
    }

    void aNewIntervalCountsFromTheNextTriggerOn() {
        auto& store = fixture->startRefreshed();
        fixture->clock.advance(100s);
        store.settings.refreshInterval = 60;
        QVERIFY(!store.isLoading);
        fixture->notifications.post(notification::menuDidBeginTracking);
        QVERIFY(store.isLoading);
    }

    void anIntervalBeyondTheClockIsNotMistakenForAShortOne() {
        auto& store = fixture->startRefreshed();
        store.settings.refreshInterval = std::numeric_limits<qint64>::max();
        fixture->clock.advance(24h * 365);
        pullEveryTrigger();
        QVERIFY(!store.isLoading);
        QCOMPARE(fixture->refreshes(), 1);
    }

    void theFirstTriggerFindsARefreshDueWhateverTheInterval() {
        fixture->backend.answerInTurn(target::status, {Answer::http(500), Answer::http(200, statusBody())});
        fixture->defaults.setInteger(u"refreshInterval"_s, std::numeric_limits<qint64>::max());
        fixture->keepApiKey();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QVERIFY(!store.timeline.get());
        fixture->notifications.post(notification::workspaceDidWake);
        QVERIFY(store.isLoading);
    }

    void aFailedRefreshIsRetriedByTheNextTrigger() {
        auto& store = fixture->startRefreshed();
        fixture->clock.advance(299s);
        fixture->backend.answer(target::snapshots, Answer::http(500));
        const std::array triggers{notification::workspaceDidWake, notification::applicationDidBecomeActive,
                                  notification::menuDidBeginTracking};
        fixture->clock.advance(1s); // the heartbeat's refresh fails
        QVERIFY(waitUntil([&] { return !store.isLoading; }));
        QCOMPARE(fixture->refreshes(), 2);
        for (std::size_t index = 0; index < triggers.size(); ++index) {
            fixture->notifications.post(triggers[index]);
            QVERIFY(waitUntil([&] { return !store.isLoading; }));
            QCOMPARE(fixture->refreshes(), 3 + int(index));
            QCOMPARE(*store.lastError, std::optional(u"HTTP 500"_s));
        }
        fixture->backend.answer(target::snapshots, Answer::http(200, snapshotsBody()));
        fixture->clock.advance(30s);
        QVERIFY(waitUntil([&] { return !store.isLoading; }));
        QCOMPARE(fixture->refreshes(), 6);
        QVERIFY(!store.lastError->has_value());
        pullEveryTrigger();
        QCOMPARE(fixture->refreshes(), 6);
    }

    void aTriggerDuringARefreshStartsASecondOne() {
        const Gate gate;
        fixture->backend.answer(target::status, Answer::http(200, statusBody()).behind(gate));
        fixture->keepApiKey();
        auto& store = fixture->start();
        QVERIFY(waitUntil([&] { return fixture->refreshes() == 1; }));
        fixture->notifications.post(notification::menuDidBeginTracking);
        QVERIFY(waitUntil([&] { return fixture->refreshes() == 2; }));
        gate.open();
        QVERIFY(waitUntil([&] { return !store.isLoading && store.timeline.get(); }));
    }

    void triggersAfterTheStoreHasGoneDoNothing() {
        fixture->startRefreshed();
        fixture->stop();
        QCOMPARE(fixture->clock.runningTimers(), std::size_t{0});
        fixture->clock.advance(24h);
        pullEveryTrigger();
        QCOMPARE(fixture->refreshes(), 1);
    }

private:
    void pullEveryTrigger() {
        for (const auto name : {notification::workspaceDidWake, notification::applicationDidBecomeActive,
                                notification::menuDidBeginTracking}) {
            fixture->notifications.post(name);
        }
        drainEvents();
    }

    /// The first refresh ends so long after the store was made.
    void startRefreshedAfter(Clock::Duration delay) {
        const Gate gate;
        fixture->backend.answerInTurn(
            target::status, {Answer::http(200, statusBody()).behind(gate), Answer::http(200, statusBody())});
        fixture->keepApiKey();
        fixture->start();
        QVERIFY(waitUntil([&] { return fixture->refreshes() == 1; }));
        fixture->clock.advance(delay);
        gate.open();
        fixture->waitUntilSettled();
    }

    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<StoreFixture> fixture;
};

QTEST_GUILESS_MAIN(AppStoreTriggersTest)
#include "AppStoreTriggersTest.moc"
