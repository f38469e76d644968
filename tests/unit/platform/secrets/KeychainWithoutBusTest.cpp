#include "platform/secrets/Keychain.h"

#include <QTemporaryDir>
#include <QTest>

using namespace quillo;
using namespace Qt::Literals::StringLiterals;

/// A process of its own: libraries ask for the session bus once.
class KeychainWithoutBusTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder.filePath(u"no-bus"_s).toUtf8());
        qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
    }

    void everythingFailsQuietlyWithoutASessionBus() {
        QCOMPARE(Keychain::get(u"api_key"_s), std::nullopt);
        QVERIFY(!Keychain::set(u"api_key"_s, u"value"_s));
        QVERIFY(!Keychain::delete_(u"api_key"_s));
    }

    void aStoreOutOfReachIsNotAnEmptyOne() {
        QVERIFY(Keychain::read(u"api_key"_s).isUnavailable());
        QCOMPARE(Keychain::defaultCollection(), Keychain::Collection::unreachable);
    }

private:
    QTemporaryDir folder;
};

QTEST_GUILESS_MAIN(KeychainWithoutBusTest)
#include "KeychainWithoutBusTest.moc"
