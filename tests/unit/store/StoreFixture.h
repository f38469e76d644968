#pragma once

#include "auth/AuthFixture.h"
#include "net/APIClient.h"
#include "net/HTTPSession.h"
#include "platform/defaults/UserDefaults.h"
#include "platform/desktop/LoginItem.h"
#include "platform/desktop/NotificationCenter.h"
#include "platform/desktop/Workspace.h"
#include "platform/secrets/SecretStore.h"
#include "store/AppStore.h"
#include "store/GlobalHotKey.h"
#include "support/ManualClock.h"
#include "support/RoutedServer.h"

#include <QList>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

namespace quillo::test {

/// The request targets of the backend.
namespace target {
inline const QByteArray status = "/api/status";
inline const QByteArray timeline = "/api/timeline";
inline const QByteArray snapshots = "/api/snapshots";
inline const QByteArray sync = "/api/sync";
inline const QByteArray refresh = "/api/refresh";
} // namespace target

/// A ledger's body; `lines` is the JSON array of its transactions.
[[nodiscard]] QByteArray ledgerBody(double totalOwed, double pendingHolds = 0,
                                    const QByteArray& lines = "[]");

/// A status body with these JSON objects as its bank links.
[[nodiscard]] QByteArray statusBody(const QList<QByteArray>& links = {});

/// A snapshot list with these days.
[[nodiscard]] QByteArray snapshotsBody(const QList<QByteArray>& dates = {});

/// A store and its surroundings, all of them real but for three: time stands still until the test moves it,
/// pages for the browser are written down, and both servers are the test's own.
///
/// Credentials come from the secret store of the session bus: a test that wants them has made a
/// `PrivateKeyring`; one that wants none calls `leaveSessionBus` first. At the start nothing is stored there,
/// the backend owes $1,234.50 and answers everything, and the identity provider issues "access-1".
class StoreFixture {
public:
    explicit StoreFixture(const HTTPSession::Options& http = {});
    StoreFixture(const StoreFixture&) = delete;
    StoreFixture& operator=(const StoreFixture&) = delete;
    ~StoreFixture();

    ManualClock clock;
    NotificationCenter notifications;
    QList<QUrl> opened; ///< the pages that were handed to the browser
    Workspace workspace;
    QTemporaryDir folder; ///< holds the XDG folders of this process while the fixture lives
    RoutedServer backend;
    RoutedServer identity;
    UserDefaults defaults; ///< already names the backend
    SecretStore secrets;
    HTTPSession session;
    APIClient client{session};
    LoginItem loginItem;        ///< of a program that is installed
    QList<HotKeyChord> hotKeys; ///< those registered, at present
    GlobalHotKey hotKey;

    /// The key that `keepApiKey` stores.
    static constexpr auto apiKey = "key-1";

    /// Puts the key into the secret store, as an earlier run of the program would have. See also
    /// `keepSession`.
    void keepApiKey();

    /// Makes the store, which begins its work. Nothing is waited for.
    AppStore& start() { return start(defaults); }

    /// The same with other settings than `defaults`.
    AppStore& start(UserDefaults& settings);

    /// With the API key, and its first refresh behind it.
    AppStore& startRefreshed();

    void stop() { made.reset(); }

    [[nodiscard]] AppStore& store() { return *made; }

    /// Waits until no refresh is under way and the store has something to show; stops the test otherwise.
    void waitUntilSettled();

    /// How many refreshes have been begun, by the first of their requests.
    [[nodiscard]] int refreshes() const { return backend.count(target::status); }

    [[nodiscard]] QString loginItemPath() const { return loginItem.entryPath(); }

private:
    void prepareFolders();
    void prepareServers();

    std::unique_ptr<AppStore> made;
};

/// Takes the session bus away from this process, and the secret store with it. Before anything asks for it.
void leaveSessionBus();

} // namespace quillo::test
