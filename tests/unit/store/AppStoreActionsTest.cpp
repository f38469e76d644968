#include "store/StoreFixture.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

/// What the user asks of the store: sync, bank refresh, web pages, start at login.
class AppStoreActionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { keyring.start(); }
    void init() { fixture = std::make_unique<StoreFixture>(); }
    void cleanup() { fixture.reset(); }

    void syncNowPostsAndThenRefreshes() {
        auto& store = fixture->startRefreshed();
        const Gate gate;
        fixture->backend.answer(target::sync, Answer::http(204).behind(gate));
        auto syncing = store.syncNow();
        QVERIFY(waitUntil([&] { return fixture->backend.count(target::sync) == 1; }));
        QVERIFY(!store.isLoading);
        QCOMPARE(fixture->refreshes(), 1);
        gate.open();
        await(std::move(syncing));
        QCOMPARE(fixture->refreshes(), 2);
        const auto request = fixture->backend.requests(target::sync).at(0);
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.values("X-API-Key"), QList<QByteArray>{StoreFixture::apiKey});
    }

    void aSyncThatFailsIsForgottenWhenTheRefreshSucceeds() {
        auto& store = fixture->startRefreshed();
        const Gate gate;
        fixture->backend.answer(target::sync, Answer::http(500));
        fixture->backend.answer(target::status, Answer::http(200, statusBody()).behind(gate));
        auto syncing = store.syncNow();
        QVERIFY(waitUntil([&] { return fixture->refreshes() == 2; }));
        QCOMPARE(*store.lastError, std::optional(u"Sync failed: HTTP 500"_s));
        gate.open();
        await(std::move(syncing));
        QVERIFY(!store.lastError->has_value());
        QCOMPARE(fixture->backend.count(target::sync), 1);
    }

    void aSyncThatFailsIsReplacedByTheErrorOfTheRefresh() {
        auto& store = fixture->startRefreshed();
        fixture->backend.answer(target::sync, Answer::http(500));
        fixture->backend.answer(target::timeline, Answer::http(502));
        await(store.syncNow());
        QCOMPARE(*store.lastError, std::optional(u"HTTP 502"_s));
    }

    void aBankRefreshIsFollowedByARefreshTwentySecondsLater() {
        auto& store = fixture->startRefreshed();
        auto asking = store.refreshFromBank();
        QVERIFY(waitUntil([&] { return fixture->clock.runningTimers() == 2; })); // the heartbeat, the wait
        QCOMPARE(fixture->backend.count(target::refresh), 1);
        QCOMPARE(fixture->backend.requests(target::refresh).at(0).method, QByteArray("POST"));
        fixture->clock.advance(19999ms);
        drainEvents();
        QVERIFY(!store.isLoading);
        QCOMPARE(fixture->refreshes(), 1);
        fixture->clock.advance(1ms);
        await(std::move(asking));
        QCOMPARE(fixture->refreshes(), 2);
        QVERIFY(!store.lastError->has_value());
        QCOMPARE(fixture->backend.count(target::refresh), 1);
    }

    void aBankRefreshThatFailsIsToldAndNotFollowedByARefresh() {
        auto& store = fixture->startRefreshed();
        fixture->backend.answer(target::refresh, Answer::http(429));
        await(store.refreshFromBank());
        QCOMPARE(*store.lastError, std::optional(u"Bank refresh failed: HTTP 429"_s));
        QCOMPARE(fixture->clock.runningTimers(), std::size_t{1});
        fixture->clock.advance(20s);
        drainEvents();
        QCOMPARE(fixture->refreshes(), 1);
        QCOMPARE(fixture->backend.count(target::refresh), 1);
    }

    void aStoreThatGoesWhileItWaitsForTheBankLeavesNothingBehind() {
        auto& store = fixture->startRefreshed();
        store.start(store.refreshFromBank());
        QVERIFY(waitUntil([&] { return fixture->clock.runningTimers() == 2; }));
        fixture->stop();
        QCOMPARE(fixture->clock.runningTimers(), std::size_t{0});
        fixture->clock.advance(20s);
        drainEvents();
        QCOMPARE(fixture->refreshes(), 1);
    }

    void pagesOfTheBackendAreItsOriginAndAPath_data() {
        QTest::addColumn<QString>("backend");
        QTest::addColumn<QByteArray>("origin");
        QTest::newRow("origin") << u"https://a.example"_s << QByteArray("https://a.example");
        QTest::newRow("slash at the end") << u"https://a.example/"_s << QByteArray("https://a.example/");
        QTest::newRow("port and path") << u"http://a.example:81/b"_s << QByteArray("http://a.example:81/b");
    }
    void pagesOfTheBackendAreItsOriginAndAPath() {
        QFETCH(QString, backend);
        QFETCH(QByteArray, origin);
        auto& store = fixture->start();
        store.settings.backend = backend;
        store.openLedger();
        store.openLinkPage();
        store.openReconnect();
        QList<QByteArray> opened;
        for (const auto& url : std::as_const(fixture->opened)) {
            opened.append(url.toEncoded());
        }
        QCOMPARE(opened, (QList<QByteArray>{origin + "/ledger", origin + "/link", origin + "/link"}));
    }

    void aNonsenseBackendOpensNothing_data() {
        QTest::addColumn<QString>("backend");
        for (const auto* backend :
             {"", "ht tp://", "file:///etc/passwd", "localhost:8080", "javascript:alert(1)//", "https://"}) {
            QTest::newRow(backend) << QString::fromLatin1(backend);
        }
    }
    void aNonsenseBackendOpensNothing() {
        QFETCH(QString, backend);
        auto& store = fixture->startRefreshed();
        store.settings.backend = backend;
        store.openLedger();
        store.openLinkPage();
        store.openReconnect();
        QVERIFY(fixture->opened.isEmpty());
        QVERIFY(!store.lastError->has_value());
    }

    void startAtLoginIsReadAtTheStartAndNotWritten() {
        QVERIFY(!fixture->start().launchAtLogin);
        QVERIFY(!QFile::exists(fixture->loginItemPath()));
        fixture->loginItem.register_();
        QVERIFY(fixture->start().launchAtLogin);
        QVERIFY(QFile::remove(fixture->loginItemPath()));
        QVERIFY(!fixture->start().launchAtLogin);
        QVERIFY(!QFile::exists(fixture->loginItemPath()));
    }

    void anEntryThatTheUserSwitchedOffIsNotStartAtLogin() {
        switchOffByTheUser();
        auto& store = fixture->start();
        QVERIFY(!store.launchAtLogin);
        QCOMPARE(store.loginItemStatusMessage(),
                 std::optional(
                     u"Approval needed — open System Settings → General → Login Items and enable Quillo."_s));
    }

    void everyWriteOfStartAtLoginReachesTheDesktop() {
        auto& store = fixture->start();
        store.launchAtLogin = true;
        QVERIFY(QFile::exists(fixture->loginItemPath()));
        QVERIFY(QFile::remove(fixture->loginItemPath()));
        store.launchAtLogin = true; // equal, and done all the same
        QVERIFY(QFile::exists(fixture->loginItemPath()));
        store.launchAtLogin = false;
        QVERIFY(!QFile::exists(fixture->loginItemPath()));
        fixture->loginItem.register_(); // behind the program's back
        store.launchAtLogin = false;
        QVERIFY(!QFile::exists(fixture->loginItemPath()));
        QVERIFY(!store.lastError->has_value());
    }

    void startAtLoginThatCannotBeSetIsToldAndNotReverted() {
        switchOffByTheUser();
        auto& store = fixture->startRefreshed();
        store.launchAtLogin = true;
        QVERIFY(store.launchAtLogin);
        QCOMPARE(*store.lastError,
                 std::optional(u"Login item update failed: Quillo is switched off in the desktop’s list of "
                               "startup applications."_s));
        await(store.refresh());
        QVERIFY(!store.lastError->has_value());
        QVERIFY(store.launchAtLogin);
    }

    void aProgramThatIsNotInstalledIsToldAndNotRegistered() {
        QVERIFY(QDir(fixture->folder.filePath(u"XDG_DATA_HOME"_s)).removeRecursively());
        auto& store = fixture->startRefreshed();
        QCOMPARE(store.loginItemStatusMessage(),
                 std::optional(u"Login item couldn't be registered (app must live in /Applications)."_s));
        store.launchAtLogin = true;
        QVERIFY(store.lastError->value_or(QString()).startsWith(u"Login item update failed: "_s));
        QVERIFY(!QFile::exists(fixture->loginItemPath()));
    }

    void theLoginItemsMessageIsReadAfresh() {
        auto& store = fixture->start();
        QCOMPARE(store.loginItemStatusMessage(), std::nullopt); // not registered
        fixture->loginItem.register_();
        QCOMPARE(store.loginItemStatusMessage(), std::nullopt); // enabled
        switchOffByTheUser();
        QVERIFY(store.loginItemStatusMessage().has_value());
    }

private:
    void switchOffByTheUser() {
        QFile entry(fixture->loginItemPath());
        QVERIFY(QDir().mkpath(QFileInfo(entry).path()));
        QVERIFY(entry.open(QIODevice::WriteOnly | QIODevice::Truncate));
        entry.write("[Desktop Entry]\nType=Application\nName=Quillo\nExec=/bin/true\nHidden=true\n");
    }

    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<StoreFixture> fixture;
};

QUILLO_TEST(AppStoreActionsTest, QCoreApplication)
#include "AppStoreActionsTest.moc"
