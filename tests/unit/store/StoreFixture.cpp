#include "store/StoreFixture.h"

#include "platform/secrets/Keychain.h"
#include "support/Wait.h"

#include <QDir>
#include <QFile>

using namespace Qt::Literals::StringLiterals;

namespace quillo::test {

namespace {

const auto applicationId = u"app.quillo.Quillo.Test"_s;

} // namespace

QByteArray ledgerBody(double totalOwed, double pendingHolds, const QByteArray& lines) {
    return R"({"total_owed":)" + QByteArray::number(totalOwed, 'g', 17) + R"(,"pending_holds":)" +
           QByteArray::number(pendingHolds, 'g', 17) +
           R"(,"total_with_pending":0,"credit_limit":5000,"available":0,"as_of":"2024-05-01","transactions":)" +
           lines + "}";
}

QByteArray statusBody(const QList<QByteArray>& links) {
    return R"({"items":[)" + links.join(',') + "]}";
}

QByteArray snapshotsBody(const QList<QByteArray>& dates) {
    QList<QByteArray> days;
    for (const auto& date : dates) {
        days.append(R"({"snapshot_date":")" + date + R"(","created_at":"then","txn_count":0})");
    }
    return R"({"snapshots":[)" + days.join(',') + "]}";
}

namespace {

/// Notes which keys are asked for and gives each.
class NotedKeys final : public HotKeyService {
public:
    explicit NotedKeys(QList<HotKeyChord>& registered) : chords(registered) {}

    std::unique_ptr<Registration> registerHotKey(const HotKeyChord& chord, HotKeyIdentifier) override {
        chords.append(chord);
        return std::make_unique<Given>(chords, chord);
    }

private:
    struct Given final : Registration {
        Given(QList<HotKeyChord>& all, HotKeyChord own) : chords(all), chord(own) {}
        ~Given() override { chords.removeOne(chord); }
        QList<HotKeyChord>& chords;
        HotKeyChord chord;
    };

    QList<HotKeyChord>& chords;
};

} // namespace

StoreFixture::StoreFixture(const HTTPSession::Options& http)
    : workspace([this](const QUrl& url) {
          opened.append(url);
          return true;
      }),
      defaults(folder.filePath(u"defaults.json"_s)),
      session(http),
      loginItem(applicationId, u"/bin/true"_s),
      hotKey(std::make_unique<NotedKeys>(hotKeys)) {
    prepareFolders();
    prepareServers();
    clearSecrets();
    defaults.setString(u"backend"_s, backend.origin());
}

StoreFixture::~StoreFixture() = default;

void StoreFixture::prepareFolders() {
    for (const auto* variable : {"XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "XDG_DATA_HOME", "XDG_DATA_DIRS"}) {
        qputenv(variable, QFile::encodeName(folder.filePath(QLatin1StringView(variable))));
    }
    QFile installed(folder.filePath(u"XDG_DATA_HOME/applications/"_s + applicationId + u".desktop"_s));
    if (!QDir(folder.path()).mkpath(u"XDG_DATA_HOME/applications"_s) ||
        !installed.open(QIODevice::WriteOnly)) {
        qFatal("no temporary folder");
    }
}

void StoreFixture::prepareServers() {
    backend.answer(target::status, Answer::http(200, statusBody()));
    backend.answer(target::timeline, Answer::http(200, ledgerBody(1234.5)));
    backend.answer(target::snapshots, Answer::http(200, snapshotsBody({"2024-04-30"})));
    backend.answer(target::sync, Answer::http(204));
    backend.answer(target::refresh, Answer::http(204));
    identity.answer(tokenTarget, Answer::http(200, tokenBody("access-1")));
}

void StoreFixture::keepApiKey() {
    if (!Keychain::set(u"api_key"_s, QString::fromLatin1(apiKey))) {
        qFatal("no secret store");
    }
}

AppStore& StoreFixture::start(UserDefaults& settings) {
    made = std::make_unique<AppStore>(AppServices{.clock = clock,
                                                  .notifications = notifications,
                                                  .workspace = workspace,
                                                  .defaults = settings,
                                                  .secrets = secrets,
                                                  .session = session,
                                                  .client = client,
                                                  .loginItem = loginItem,
                                                  .hotKey = hotKey,
                                                  .identityOrigin = identity.origin()});
    return *made;
}

AppStore& StoreFixture::startRefreshed() {
    keepApiKey();
    start();
    waitUntilSettled();
    if (!made->timeline.get()) {
        qFatal("the first refresh failed: %s", qPrintable(made->lastError->value_or(QString())));
    }
    return *made;
}

void StoreFixture::waitUntilSettled() {
    const auto settled = [this] {
        return !made->isLoading && (made->timeline.get() || made->lastError->has_value());
    };
    if (!waitUntil(settled)) {
        qFatal("the store did not settle");
    }
}

void leaveSessionBus() {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    qunsetenv("XDG_RUNTIME_DIR");
}

} // namespace quillo::test
