#include "store/StoreFixture.h"
#include "support/LoopStallProbe.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QFile>
#include <QTest>

#include <chrono>
#include <cstdio>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

/// A process of its own: libraries ask for the session bus once.
class AppStoreWithoutBusTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { leaveSessionBus(); }
    void init() { fixture = std::make_unique<StoreFixture>(); }

    void withoutASessionBusTheUserIsAskedToSignIn() {
        LoopStallProbe probe;
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(u"Sign in to Quillo (menu → Sign In…)"_s));
        QCOMPARE(fixture->backend.count(), 0);
        QVERIFY(store.auth.state->isSignedOut());
        QVERIFY(probe.longestStall() < LoopStallProbe::budget);
    }

    void anApiKeyThatIsTypedInWorksWithoutASessionBus() {
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        store.settings.apiKey = u"typed"_s;
        await(store.refresh());
        QVERIFY(!store.lastError->has_value());
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
        fixture->clock.advance(std::chrono::seconds(300));
        QVERIFY(store.isLoading); // the triggers work, too
    }

    void untilTheSettingsCanBeReadNoCredentialLeavesTheProgram() {
        const auto path = unreadableSettings();
        UserDefaults settings(path, std::chrono::milliseconds(1));
        auto& store = fixture->start(settings);
        fixture->waitUntilSettled();
        store.settings.apiKey = u"typed"_s;
        await(store.refresh());
        await(store.syncNow());
        QVERIFY(store.lastError->value().startsWith(u"Settings cannot be read: "));
        QCOMPARE(*store.lastError, store.settingsProblem());
        QVERIFY(!store.isLoading);

        const auto stored =
            "{\"backend\":\"" + fixture->backend.origin().toUtf8() + "\",\"refreshInterval\":0}";
        replace(path, stored);
        QVERIFY(waitUntil([&] { return store.timeline.get() != nullptr; }));
        QCOMPARE(*store.settings.backend, fixture->backend.origin());
        QCOMPARE(*store.settings.refreshInterval, 0);
        QVERIFY(waitUntil([&] { return !store.lastError->has_value(); }));
        QVERIFY(!store.settingsProblem());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), stored); // loading stores nothing back
    }

    void aBackendThatIsTypedInIsUsedThoughTheSettingsCannotBeRead() {
        UserDefaults settings(unreadableSettings(), std::chrono::minutes(1));
        auto& store = fixture->start(settings);
        fixture->waitUntilSettled();
        store.settings.apiKey = u"typed"_s;
        store.settings.backend = fixture->backend.origin();
        await(store.refresh());
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
        QVERIFY(waitUntil([&] { return store.settingsProblem().has_value(); }));
        replace(fixture->folder.filePath(u"later.json"_s), "{}"); // for the end of the settings
    }

private:
    /// A file of this name opens, and cannot be read: there is nothing at the memory's address zero.
    [[nodiscard]] QString unreadableSettings() const {
        const auto path = fixture->folder.filePath(u"later.json"_s);
        if (!QFile::link(u"/proc/self/mem"_s, path)) {
            qFatal("no link");
        }
        return path;
    }

    static void replace(const QString& path, const QByteArray& contents) {
        QFile file(path + u".new"_s);
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size() || !file.flush() ||
            std::rename(qPrintable(file.fileName()), qPrintable(path)) != 0) {
            qFatal("no file");
        }
    }

    std::unique_ptr<StoreFixture> fixture;
};

QUILLO_TEST(AppStoreWithoutBusTest, QCoreApplication)
#include "AppStoreWithoutBusTest.moc"
