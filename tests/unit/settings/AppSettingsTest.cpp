#include "settings/AppSettings.h"

#include "BuildConfiguration.h"
#include "platform/defaults/UserDefaults.h"
#include "platform/secrets/Keychain.h"
#include "platform/secrets/SecretStore.h"
#include "settings/IntervalPreset.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto account = u"api_key"_s;

/// What a run of the program has.
struct Run {
    explicit Run(const QString& path) : defaults(path) {}
    UserDefaults defaults;
    SecretStore secrets;
    AppSettings settings{defaults, secrets};
};

} // namespace

class AppSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        if (!keyring.isRunning()) {
            keyring.start();
        }
        Keychain::delete_(account);
        folder = std::make_unique<QTemporaryDir>();
        path = folder->filePath(u"defaults.json"_s);
    }

    void firstStartHasTheDefaults() {
        Run run(path);
        await(run.settings.loadSecrets());
        QCOMPARE(*run.settings.backend, QString(build::backendOrigin));
        QCOMPARE(*run.settings.refreshInterval, 300);
        QCOMPARE(*run.settings.refreshInterval, intervalPresets[1].seconds);
        QCOMPARE(*run.settings.verifyTLS, true);
        QCOMPARE(*run.settings.apiKey, QString());
        QCOMPARE(*run.settings.hotKeyEnabled, true);
    }

    void loadingStoresNothing() {
        Run run(path);
        await(run.settings.loadSecrets());
        QVERIFY(run.defaults.synchronize(20s));
        QVERIFY(!QFile::exists(path));
        QCOMPARE(keyring.itemCount(Keychain::service, account), 0);
    }

    void storedValuesAreLoaded_data() {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("backend");
        QTest::addColumn<qint64>("refreshInterval");
        QTest::addColumn<bool>("verifyTLS");
        QTest::addColumn<bool>("hotKeyEnabled");
        const QString origin(build::backendOrigin);
        const auto row = [](const char* name, const char* json, const QString& backend, qint64 interval,
                            bool verify, bool hotKey) {
            QTest::newRow(name) << QByteArray(json).replace('\'', '"') << backend << interval << verify
                                << hotKey;
        };
        row("as typed", "{'backend':' https://a.example/ '}", u" https://a.example/ "_s, 300, true, true);
        row("empty backend", "{'backend':''}", u""_s, 300, true, true);
        row("no preset is kept", "{'refreshInterval':120}", origin, 120, true, true);
        row("negative is kept", "{'refreshInterval':-5}", origin, -5, true, true);
        row("beyond double precision", "{'refreshInterval':9007199254740993}", origin, 9007199254740993, true,
            true);
        row("no integer", "{'refreshInterval':1.5}", origin, 300, true, true);
        row("beyond 64 bits", "{'refreshInterval':9223372036854775808}", origin, 300, true, true);
        row("boolean is no integer", "{'refreshInterval':true}", origin, 300, true, true);
        row("text is no integer", "{'refreshInterval':'60'}", origin, 300, true, true);
        row("off", "{'verifyTLS':false,'hotKeyEnabled':false}", origin, 300, false, false);
        row("text is no boolean", "{'verifyTLS':'false','hotKeyEnabled':'no'}", origin, 300, true, true);
        row("number is no boolean", "{'verifyTLS':0,'hotKeyEnabled':0}", origin, 300, true, true);
        row("null", "{'verifyTLS':null,'backend':null,'refreshInterval':null,'hotKeyEnabled':null}", origin,
            300, true, true);
        row("number is no text", "{'backend':7}", origin, 300, true, true);
        row("damaged", "{'backend':'https://", origin, 300, true, true);
    }
    void storedValuesAreLoaded() {
        QFETCH(QByteArray, json);
        QFETCH(QString, backend);
        QFETCH(qint64, refreshInterval);
        QFETCH(bool, verifyTLS);
        QFETCH(bool, hotKeyEnabled);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(json);
        file.close();
        Run run(path);
        QCOMPARE(*run.settings.backend, backend);
        QCOMPARE(*run.settings.refreshInterval, refreshInterval);
        QCOMPARE(*run.settings.verifyTLS, verifyTLS);
        QCOMPARE(*run.settings.hotKeyEnabled, hotKeyEnabled);
    }

    void everySettingIsThereOnTheNextStart() {
        {
            Run run(path);
            run.settings.backend = u"https://own.example"_s;
            run.settings.refreshInterval = 0;
            run.settings.verifyTLS = false;
            run.settings.hotKeyEnabled = false;
            run.settings.apiKey = u"schlüssel"_s;
        }
        Run run(path);
        await(run.settings.loadSecrets());
        QCOMPARE(*run.settings.backend, u"https://own.example"_s);
        QCOMPARE(*run.settings.refreshInterval, 0);
        QCOMPARE(*run.settings.verifyTLS, false);
        QCOMPARE(*run.settings.hotKeyEnabled, false);
        QCOMPARE(*run.settings.apiKey, u"schlüssel"_s);
    }

    void changesAreAnnouncedBeforeTheyHappenAndWrittenAfterwards() {
        Run run(path);
        auto& settings = run.settings;
        QList<qint64> seen;
        QList<QVariant> stored;
        const auto observation = settings.objectWillChange.observe([&] {
            seen.append(*settings.refreshInterval);
            stored.append(run.defaults.object(u"refreshInterval"_s));
        });
        settings.refreshInterval = 60;
        settings.refreshInterval = 900;
        QCOMPARE(seen, (QList<qint64>{300, 60}));
        QCOMPARE(stored, (QList<QVariant>{QVariant(), QVariant(60LL)}));
        QCOMPARE(run.defaults.object(u"refreshInterval"_s), QVariant(900LL));
    }

    void anEqualValueIsAnnouncedAndWrittenToo() {
        Run run(path);
        int announced = 0;
        const auto observation = run.settings.objectWillChange.observe([&] { ++announced; });
        run.settings.verifyTLS = true;
        run.settings.hotKeyEnabled = true;
        run.settings.backend = QString(*run.settings.backend);
        run.settings.refreshInterval = 300;
        QCOMPARE(announced, 4);
        QCOMPARE(run.defaults.object(u"verifyTLS"_s), QVariant(true));
        QCOMPARE(run.defaults.object(u"hotKeyEnabled"_s), QVariant(true));
        QCOMPARE(run.defaults.object(u"backend"_s), QVariant(QString(build::backendOrigin)));
        QCOMPARE(run.defaults.object(u"refreshInterval"_s), QVariant(300LL));
    }

    void anEmptyKeyIsStoredAsAnEmptyItem() {
        {
            Run run(path);
            run.settings.apiKey = u"key"_s;
            run.settings.apiKey = u""_s;
        }
        QCOMPARE(Keychain::get(account), std::optional(u""_s));
        QCOMPARE(keyring.itemCount(Keychain::service, account), 1);
        Run run(path);
        await(run.settings.loadSecrets());
        QCOMPARE(*run.settings.apiKey, u""_s);
    }

    void theKeyNeverReachesTheDefaultsFile() {
        Run run(path);
        run.settings.verifyTLS = false;
        run.settings.apiKey = u"sk-very-secret"_s;
        QVERIFY(run.defaults.synchronize(20s));
        for (const auto& name : QDir(folder->path()).entryList(QDir::Files | QDir::Hidden)) {
            QFile file(folder->filePath(name));
            QVERIFY(file.open(QIODevice::ReadOnly));
            QVERIFY(!file.readAll().contains("sk-very-secret"));
        }
    }

    void theStoredKeyArrivesWithAnAnnouncement() {
        Keychain::set(account, u"stored"_s);
        Run run(path);
        QCOMPARE(*run.settings.apiKey, u""_s);
        QStringList before;
        const auto observation =
            run.settings.objectWillChange.observe([&] { before.append(*run.settings.apiKey); });
        await(run.settings.loadSecrets());
        QCOMPARE(*run.settings.apiKey, u"stored"_s);
        QCOMPARE(before, QStringList{u""_s});
    }

    void aKeySetBeforeTheStoredOneArrivesWins() {
        Keychain::set(account, u"stored"_s);
        {
            Run run(path);
            auto loading = run.settings.loadSecrets();
            run.settings.apiKey = u"typed"_s;
            await(std::move(loading));
            QCOMPARE(*run.settings.apiKey, u"typed"_s);
        }
        QCOMPARE(Keychain::get(account), std::optional(u"typed"_s));
    }

    void aLockedStoreGivesTheKeyOnceItIsUnlocked() {
        Keychain::set(account, u"stored"_s);
        keyring.lock();
        Run run(path);
        await(run.settings.loadSecrets());
        QCOMPARE(*run.settings.apiKey, u""_s);
        keyring.unlock();
        QVERIFY(waitUntil([&] { return *run.settings.apiKey == u"stored"_s; }));
    }

    void withoutASecretStoreTheKeyInMemoryCounts() {
        keyring.stop();
        Run run(path);
        await(run.settings.loadSecrets());
        run.settings.apiKey = u"only in memory"_s;
        QCOMPARE(*run.settings.apiKey, u"only in memory"_s);
        keyring.start();
        await(run.secrets.get(account));
        QCOMPARE(*run.settings.apiKey, u"only in memory"_s);
        QCOMPARE(Keychain::get(account), std::nullopt);
    }

    void aFileThatCannotBeWrittenChangesTheValueInMemory() {
        const auto blocked = folder->filePath(u"file"_s);
        QFile file(blocked);
        QVERIFY(file.open(QIODevice::WriteOnly));
        Run run(blocked + u"/defaults.json"_s);
        run.settings.refreshInterval = 60;
        QCOMPARE(*run.settings.refreshInterval, 60);
        QVERIFY(!run.defaults.synchronize(20s));
    }

private:
    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<QTemporaryDir> folder;
    QString path;
};

QUILLO_TEST(AppSettingsTest, QCoreApplication)
#include "AppSettingsTest.moc"
