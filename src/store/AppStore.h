#pragma once

#include "auth/AuthManager.h"
#include "core/Clock.h"
#include "core/Published.h"
#include "core/TaskScope.h"
#include "net/APIAuth.h"
#include "platform/defaults/UserDefaults.h"
#include "settings/AppSettings.h"
#include "store/AppState.h"
#include "store/BankLinks.h"

#include <optional>
#include <vector>

namespace quillo {

class APIClient;
class GlobalHotKey;
class HTTPSession;
class LoginItem;
class NotificationCenter;
class SecretStore;
class Workspace;

/// What the store takes from its surroundings; everything outlives it.
struct AppServices {
    Clock& clock;
    NotificationCenter& notifications;
    Workspace& workspace;
    UserDefaults& defaults;
    SecretStore& secrets;
    HTTPSession& session;
    APIClient& client;
    LoginItem& loginItem;
    GlobalHotKey& hotKey;
    QString identityOrigin; ///< scheme and host of the OpenID provider
};

/// The one object that holds everything the views show, and the one place that decides when to talk to the
/// backend.
///
/// Published properties are announced before they change. Operations never throw: every failure ends as one
/// line in `lastError`, which only a successful refresh clears. For the main thread.
class AppStore : public ObservableObject {
public:
    /// Starts the program's main loop: the heartbeat, the triggers, and a first refresh as soon as the secret
    /// store has said what credentials there are.
    explicit AppStore(const AppServices& services);
    AppStore(const AppStore&) = delete;
    AppStore& operator=(const AppStore&) = delete;
    ~AppStore();

    /// The live ledger of the last successful refresh; null before it.
    Published<Ledger> timeline{*this, nullptr};
    /// The bank links, of the same refresh.
    Published<Shared<std::vector<ItemStatus>>> itemStatuses{*this, {}};
    Published<bool> isLoading{*this, false};
    /// The one error line for the user.
    Published<std::optional<QString>> lastError{*this, std::nullopt};

private:
    AppServices services;

public:
    AppSettings settings;
    AuthManager auth;
    /// Whether the program starts at login; every assignment registers or unregisters it.
    Published<bool> launchAtLogin;
    /// The days that can be looked at, in the backend's order.
    Published<Shared<std::vector<SnapshotSummary>>> availableSnapshots{*this, {}};
    /// The day being looked at and its ledger; absent means live.
    Published<std::optional<Day>> selectedDay{*this, std::nullopt};

    /// Everything that the views show, as it is now.
    [[nodiscard]] AppState state() const;

    /// Fetches status, ledger and snapshot list together and publishes them only when all three arrived.
    /// Overlapping refreshes are allowed: each applies its results when it ends.
    [[nodiscard]] Task<> refresh();

    /// Has the backend re-read the aggregator's copy of the bank data (fast, free), then refreshes, whether
    /// that succeeded or not.
    [[nodiscard]] Task<> syncNow();

    /// Has the bank asked anew (slow, metered); if that succeeds, refreshes 20 seconds later.
    [[nodiscard]] Task<> refreshFromBank();

    /// Fetches the list of snapshots.
    [[nodiscard]] Task<> loadSnapshots();

    /// Selects a day once its ledger has arrived; without a date, or with an empty one, returns to live at
    /// once and without a request.
    [[nodiscard]] Task<> loadSnapshot(std::optional<QString> date);

    /// Opens a page of the backend in the user's browser; nothing happens when the origin makes no URL.
    void openLedger() { openBackendPage(QLatin1StringView("/ledger")); }
    void openLinkPage() { openBackendPage(QLatin1StringView("/link")); }
    void openReconnect() { openLinkPage(); }

    // What the bank links ask of the user, computed from `itemStatuses` on each read; see `troubleMessage`.
    [[nodiscard]] bool needsReconnect() const { return reconnectMessage().has_value(); }
    [[nodiscard]] bool hasBankOutage() const { return outageMessage().has_value(); }
    [[nodiscard]] bool needsAddCreditCard() const { return addCreditMessage().has_value(); }
    [[nodiscard]] std::optional<QString> reconnectMessage() const { return message(Trouble::reconnect); }
    [[nodiscard]] std::optional<QString> outageMessage() const { return message(Trouble::outage); }
    [[nodiscard]] std::optional<QString> addCreditMessage() const { return message(Trouble::addCard); }

    [[nodiscard]] std::optional<QString> selectedSnapshotDate() const;
    [[nodiscard]] Ledger snapshotTimeline() const;
    [[nodiscard]] bool isViewingSnapshot() const { return selectedDay->has_value(); }
    [[nodiscard]] Ledger visibleTimeline() const { return state().visible(); }

    /// Why settings are not in their file or could not be read from it, in one line; absent when all is well.
    [[nodiscard]] std::optional<QString> settingsProblem() const { return services.defaults.problem(); }

    /// What the user should know about the login item, if anything.
    [[nodiscard]] std::optional<QString> loginItemStatusMessage() const;

    /// Runs an operation that nobody waits for; it ends with the store at the latest.
    void start(Task<> operation) { tasks.spawn(std::move(operation)); }

private:
    [[nodiscard]] Task<> startUp();
    [[nodiscard]] Task<> takeUpCredentialsLate();
    [[nodiscard]] Task<> readCredentials();
    [[nodiscard]] Task<> tick();
    [[nodiscard]] bool isRefreshDue() const;
    [[nodiscard]] Task<std::optional<APIAuth>> currentAuth();
    void observeTriggers();
    [[nodiscard]] std::optional<QString> message(Trouble trouble) const {
        return troubleMessage(**itemStatuses, trouble);
    }
    void openBackendPage(QLatin1StringView path);
    void applyLaunchAtLogin(bool enabled);
    void applyHotKey();
    void publish(std::shared_ptr<Timeline> fetched);

    /// When the last successful refresh was applied; before the first one any interval has passed.
    std::optional<Clock::Instant> lastRefreshAt;
    std::unique_ptr<Clock::Timer> heartbeat;
    std::vector<Observation> observations;
    /// False until the secret store has been asked at start; until then no trigger refreshes with nothing but
    /// what the store may hold.
    bool credentialsKnown = false;
    bool becameAvailableMeanwhile = false; ///< the secret store, before the credentials were known
    TaskScope tasks;                       // last, so that no task outlives what it uses
};

} // namespace quillo
