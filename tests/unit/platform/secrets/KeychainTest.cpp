#include "platform/secrets/Keychain.h"

#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/TestMain.h"

#include <QTest>

#include <thread>
#include <vector>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const auto account = u"api_key"_s;
const auto service = QString(Keychain::service);

QStringList attributes(const QString& of = account) {
    return {u"service"_s, service, u"account"_s, of};
}

} // namespace

class KeychainTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        if (!keyring.isRunning()) {
            keyring.start();
        }
        secretTool(QStringList{u"clear"_s} + attributes());
    }

    void valueOfAnAccountNeverSetIsAbsent() {
        QCOMPARE(Keychain::get(account), std::nullopt);
        QVERIFY(Keychain::read(account) == SecretReading::absent());
    }

    void storedTextComesBackAsItWas_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("plain") << u"sk-123"_s;
        QTest::newRow("not ASCII") << u"Schlüssel ключ 鍵 🔑"_s;
        QTest::newRow("empty") << u""_s;
        QTest::newRow("line breaks and NUL") << u"a\r\nb\0c"_s;
        QTest::newRow("byte-order mark") << u"\uFEFFkey"_s;
        QTest::newRow("long") << QString(100'000, u'x');
    }
    void storedTextComesBackAsItWas() {
        QFETCH(QString, text);
        QVERIFY(Keychain::set(account, text));
        QCOMPARE(Keychain::get(account), std::optional(text));
    }

    void emptyTextIsStoredAndIsNotAbsent() {
        QVERIFY(Keychain::set(account, QString()));
        const auto stored = Keychain::get(account);
        QVERIFY(stored.has_value());
        QVERIFY(stored->isEmpty());
        QCOMPARE(keyring.itemCount(service, account), 1);
    }

    void settingTwiceLeavesTheSecondValueAndOneItem() {
        QVERIFY(Keychain::set(account, u"first"_s));
        QVERIFY(Keychain::set(account, u"second"_s));
        QCOMPARE(Keychain::get(account), std::optional(u"second"_s));
        QCOMPARE(keyring.itemCount(service, account), 1);
    }

    void accountsAreKeptApart() {
        QVERIFY(Keychain::set(account, u"one"_s));
        QVERIFY(Keychain::set(u"oidc_email"_s, u"two"_s));
        QVERIFY(Keychain::delete_(account));
        QCOMPARE(Keychain::get(u"oidc_email"_s), std::optional(u"two"_s));
        QVERIFY(Keychain::delete_(u"oidc_email"_s));
    }

    void deletingAnAbsentAccountIsFalse() { QVERIFY(!Keychain::delete_(account)); }

    void deletedValueIsAbsent() {
        QVERIFY(Keychain::set(account, u"value"_s));
        QVERIFY(Keychain::delete_(account));
        QCOMPARE(Keychain::get(account), std::nullopt);
        QCOMPARE(keyring.itemCount(service, account), 0);
    }

    void secretToolReadsWhatWasSet() {
        QVERIFY(Keychain::set(account, u"geheim ß"_s));
        QCOMPARE(secretTool(QStringList{u"lookup"_s} + attributes()), QByteArray("geheim ß"));
    }

    void getReadsWhatSecretToolWrote() {
        secretTool(QStringList{u"store"_s, u"--label=any"_s} + attributes(), "from outside");
        QCOMPARE(Keychain::get(account), std::optional(u"from outside"_s));
    }

    void secretToolReplacesTheItemInsteadOfAddingASecond() {
        QVERIFY(Keychain::set(account, u"old"_s));
        secretTool(QStringList{u"store"_s, u"--label=any"_s} + attributes(), "new");
        QCOMPARE(Keychain::get(account), std::optional(u"new"_s));
        QCOMPARE(keyring.itemCount(service, account), 1);
    }

    void itemsOfAnySchemaNameAreReplacedAndDeleted() {
        secretTool(QStringList{u"store"_s, u"--label=any"_s} + attributes() +
                       QStringList{u"xdg:schema"_s, u"org.example.Other"_s},
                   "foreign");
        QCOMPARE(Keychain::get(account), std::optional(u"foreign"_s));
        QVERIFY(Keychain::set(account, u"ours"_s));
        QCOMPARE(keyring.itemCount(service, account), 1);
        QVERIFY(Keychain::delete_(account));
        QCOMPARE(keyring.itemCount(service, account), 0);
    }

    void itemsOfAnotherServiceAreLeftAlone() {
        const QStringList foreign{u"service"_s, u"org.example.Other"_s, u"account"_s, account};
        secretTool(QStringList{u"store"_s, u"--label=any"_s} + foreign, "theirs");
        QCOMPARE(Keychain::get(account), std::nullopt);
        QVERIFY(!Keychain::delete_(account));
        QCOMPARE(secretTool(QStringList{u"lookup"_s} + foreign), QByteArray("theirs"));
    }

    void bytesThatAreNotUtf8AreAbsent() {
        secretTool(QStringList{u"store"_s, u"--label=any"_s} + attributes(), "ab\xff\xfe");
        QVERIFY(Keychain::read(account) == SecretReading::absent());
        QVERIFY(Keychain::set(account, u"mended"_s));
        QCOMPARE(Keychain::get(account), std::optional(u"mended"_s));
    }

    void lockedStoreIsNotAbsentAndNothingIsChanged() {
        QVERIFY(Keychain::set(account, u"kept"_s));
        keyring.lock();
        QCOMPARE(Keychain::defaultCollection(), Keychain::Collection::locked);
        QCOMPARE(Keychain::get(account), std::nullopt);
        QVERIFY(Keychain::read(account).isUnavailable());
        QVERIFY(Keychain::read(u"never set"_s).isUnavailable());
        QVERIFY(!Keychain::set(account, u"lost"_s));
        QVERIFY(!Keychain::delete_(account));
        keyring.unlock();
        QCOMPARE(Keychain::get(account), std::optional(u"kept"_s));
    }

    void worksAgainAfterTheDaemonWasRestarted() {
        QVERIFY(Keychain::set(account, u"before"_s));
        keyring.stop();
        QVERIFY(Keychain::read(account).isUnavailable());
        QVERIFY(!Keychain::set(account, u"lost"_s));
        QVERIFY(!Keychain::delete_(account));
        keyring.start();
        QCOMPARE(Keychain::get(account), std::optional(u"before"_s));
        QVERIFY(Keychain::set(account, u"after"_s));
        QCOMPARE(Keychain::get(account), std::optional(u"after"_s));
    }

    void anyThreadMayCall() {
        std::vector<std::thread> threads;
        std::atomic<int> right = 0;
        for (int number = 0; number < 4; ++number) {
            threads.emplace_back([number, &right] {
                const auto own = u"thread-%1"_s.arg(number);
                right += Keychain::set(own, own) && Keychain::get(own) == own && Keychain::delete_(own);
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
        QCOMPARE(right.load(), 4);
    }

private:
    PrivateBus bus;
    PrivateKeyring keyring{bus};
};

QUILLO_TEST(KeychainTest, QCoreApplication)
#include "KeychainTest.moc"
