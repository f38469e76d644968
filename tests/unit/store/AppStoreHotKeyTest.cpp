#include "store/StoreFixture.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;

/// When the store has the key that opens the ledger.
class AppStoreHotKeyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { keyring.start(); }
    void init() { fixture = std::make_unique<StoreFixture>(); }
    void cleanup() { fixture.reset(); }

    void theKeyIsRegisteredAtStart() {
        fixture->start();
        QCOMPARE(fixture->hotKeys, QList{openLedger});
    }

    void noKeyExistsWhileItIsSwitchedOff() {
        fixture->defaults.setBoolean(QStringLiteral("hotKeyEnabled"), false);
        fixture->start();
        drainEvents();
        QVERIFY(fixture->hotKeys.isEmpty());
    }

    void switchingItOffAndOnAgainRegistersItAgain() {
        auto& store = fixture->start();
        store.settings.hotKeyEnabled = false;
        QVERIFY(waitUntil([&] { return fixture->hotKeys.isEmpty(); }));
        store.settings.hotKeyEnabled = true;
        QVERIFY(waitUntil([&] { return fixture->hotKeys == QList{openLedger}; }));
    }

private:
    const HotKeyChord openLedger{'r', Qt::ControlModifier | Qt::ShiftModifier};
    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<StoreFixture> fixture;
};

QUILLO_TEST(AppStoreHotKeyTest, QCoreApplication)
#include "AppStoreHotKeyTest.moc"
