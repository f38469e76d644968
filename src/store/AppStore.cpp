#include "store/AppStore.h"

#include "core/Awaiters.h"
#include "net/APIClient.h"
#include "platform/desktop/LoginItem.h"
#include "platform/desktop/NotificationCenter.h"
#include "platform/desktop/Workspace.h"
#include "platform/secrets/SecretStore.h"
#include "store/GlobalHotKey.h"

#include <QUrl>

using namespace std::chrono_literals;

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto heartbeatInterval = 30s;

/// How long the bank's answer takes to arrive at the backend, as a rule.
constexpr auto bankRefreshDelay = 20s;

} // namespace

AppStore::AppStore(const AppServices& surroundings)
    : services(surroundings),
      settings(services.defaults, services.secrets),
      auth(services.clock, services.secrets, services.session, services.workspace, services.identityOrigin),
      launchAtLogin(*this, services.loginItem.status() == LoginItemStatus::enabled,
                    [this](bool enabled) { applyLaunchAtLogin(enabled); }) {
    heartbeat =
        services.clock.startTimer(heartbeatInterval, Clock::Repeat::forever, [this] { start(tick()); });
    observeTriggers();
    observations.push_back(services.loginItem.observeAnswers([this] { objectWillChange.emit(); }));
    observations.push_back(auth.objectWillChange.observe([this] { objectWillChange.emit(); }));
    observations.push_back(
        auth.state.observe(Published<AuthState>::Repeats::suppress, [this](const auto& state) {
            if (state.isSignedIn()) {
                tasks.spawnLater([this] { return refresh(); });
            }
        }));
    observations.push_back(services.defaults.tried.observe([this, told = settingsProblem()]() mutable {
        if (std::exchange(told, settingsProblem()) != settingsProblem()) {
            objectWillChange.emit();
        }
    }));
    observations.push_back(services.defaults.becameReadable.observe([this] {
        if (credentialsKnown) {
            start(refresh());
        }
    }));
    observations.push_back(services.secrets.becameAvailable.observe([this] {
        if (credentialsKnown) {
            start(takeUpCredentialsLate());
        } else {
            becameAvailableMeanwhile = true;
        }
    }));
    applyHotKey();
    observations.push_back(settings.hotKeyEnabled.observe(Published<bool>::Repeats::deliver, [this](bool) {
        // The announcement comes before the value.
        tasks.spawnLater([this]() -> Task<> {
            applyHotKey();
            co_return;
        });
    }));
    start(startUp());
}

AppStore::~AppStore() {
    services.hotKey.unregister();
}

void AppStore::applyHotKey() {
    if (!settings.hotKeyEnabled) {
        services.hotKey.unregister();
        return;
    }
    services.hotKey.register_(
        GlobalHotKey::keyR, GlobalHotKey::cmd | GlobalHotKey::shift,
        [&center = services.notifications] { center.post(notification::openLedgerRequested); });
}

void AppStore::observeTriggers() {
    for (const auto name : {notification::workspaceDidWake, notification::applicationDidBecomeActive,
                            notification::menuDidBeginTracking}) {
        observations.push_back(services.notifications.observe(name, [this] { start(tick()); }));
    }
}

Task<> AppStore::startUp() {
    // The user may be asked for their password here, and may leave that unanswered for hours.
    co_await services.secrets.unlock();
    becameAvailableMeanwhile = false;
    co_await readCredentials();
    if (becameAvailableMeanwhile) {
        co_await readCredentials(); // the first of the readings may have failed
    }
    credentialsKnown = true;
    // A session that was taken up has become "signed in", and that has started the first refresh already.
    if (!auth.isSignedIn()) {
        co_await refresh();
    }
}

Task<> AppStore::takeUpCredentialsLate() {
    co_await readCredentials();
    if (!auth.isSignedIn()) {
        co_await tick();
    }
}

Task<> AppStore::readCredentials() {
    co_await settings.loadSecrets();
    co_await auth.restore();
}

bool AppStore::isRefreshDue() const {
    const auto interval = settings.refreshInterval.get();
    if (interval < 1) {
        return false;
    }
    // In floating point, because the clock's ticks cannot express every interval that can be stored.
    using Seconds = std::chrono::duration<double>;
    return !lastRefreshAt || Seconds(services.clock.now() - *lastRefreshAt) >= Seconds(interval);
}

Task<> AppStore::tick() {
    // Until the secret store has answered, only what the user has given in this run can be used.
    const bool hasCredentials = credentialsKnown || auth.isSignedIn() || !settings.apiKey->isEmpty();
    if (hasCredentials && isRefreshDue()) {
        co_await refresh();
    }
}

Task<std::optional<APIAuth>> AppStore::currentAuth() {
    if (!settings.isBackendKnown()) {
        // A credential is for the user's backend, which may be another than the default.
        lastError = settingsProblem();
        co_return std::nullopt;
    }
    if (auth.isSignedIn()) {
        try {
            const auto token = co_await auth.validAccessToken();
            co_return APIAuth::bearer(token);
        } catch (const LocalizedError&) {
            // Not reported: the API key is the fallback, and without one the user is asked to sign in.
        }
    }
    if (!settings.apiKey->isEmpty()) {
        co_return APIAuth::apiKey(settings.apiKey);
    }
    // Until the secret store has answered nobody knows whether there is anything to sign in for.
    if (credentialsKnown) {
        lastError = u"Sign in to Quillo (menu → Sign In…)"_s;
    }
    co_return std::nullopt;
}

Task<> AppStore::refresh() {
    const auto chosen = co_await currentAuth();
    if (!chosen) {
        co_return;
    }
    isLoading = true;
    auto& client = services.client;
    const auto& backend = settings.backend.get();
    auto statusRequest = client.status(backend, *chosen, settings.verifyTLS);
    auto timelineRequest = client.timeline(backend, *chosen, settings.verifyTLS);
    auto snapshotsRequest = client.snapshots(backend, *chosen, settings.verifyTLS);
    try {
        auto status = co_await statusRequest;
        auto ledger = co_await timelineRequest;
        auto snapshots = co_await snapshotsRequest;
        itemStatuses = std::move(status.items);
        availableSnapshots = std::move(snapshots);
        publish(std::move(ledger));
        lastError = std::nullopt;
    } catch (const std::exception& error) {
        statusRequest.cancel();
        timelineRequest.cancel();
        snapshotsRequest.cancel();
        lastError = errorDescription(error);
    }
    isLoading = false;
}

void AppStore::publish(std::shared_ptr<Timeline> fetched) {
    fetched->fetchedAt = services.clock.wallClock();
    lastRefreshAt = services.clock.now();
    timeline = std::move(fetched);
}

Task<> AppStore::syncNow() {
    const auto chosen = co_await currentAuth();
    if (!chosen) {
        co_return;
    }
    auto request = services.client.sync(settings.backend, *chosen, settings.verifyTLS);
    try {
        co_await request;
    } catch (const std::exception& error) {
        lastError = u"Sync failed: "_s + errorDescription(error);
    }
    co_await refresh();
}

Task<> AppStore::refreshFromBank() {
    const auto chosen = co_await currentAuth();
    if (!chosen) {
        co_return;
    }
    auto request = services.client.refreshFromBank(settings.backend, *chosen, settings.verifyTLS);
    try {
        co_await request;
    } catch (const std::exception& error) {
        lastError = u"Bank refresh failed: "_s + errorDescription(error);
        co_return;
    }
    Sleep delay(services.clock, bankRefreshDelay);
    co_await delay;
    co_await refresh();
}

Task<> AppStore::loadSnapshots() {
    const auto chosen = co_await currentAuth();
    if (!chosen) {
        co_return;
    }
    auto request = services.client.snapshots(settings.backend, *chosen, settings.verifyTLS);
    try {
        auto snapshots = co_await request;
        availableSnapshots = std::move(snapshots);
    } catch (const std::exception& error) {
        lastError = u"Snapshots: "_s + errorDescription(error);
    }
}

Task<> AppStore::loadSnapshot(std::optional<QString> date) {
    if (!date || date->isEmpty()) {
        selectedDay = std::nullopt;
        co_return;
    }
    const auto chosen = co_await currentAuth();
    if (!chosen) {
        co_return;
    }
    auto request = services.client.snapshot(settings.backend, *date, *chosen, settings.verifyTLS);
    try {
        auto ledger = co_await request;
        Day day{.date = *date, .ledger = std::move(ledger)};
        selectedDay = std::move(day);
    } catch (const std::exception& error) {
        lastError = u"Snapshot fetch: "_s + errorDescription(error);
    }
}

std::optional<QString> AppStore::selectedSnapshotDate() const {
    const auto& day = selectedDay.get();
    return day ? std::optional(day->date) : std::nullopt;
}

Ledger AppStore::snapshotTimeline() const {
    const auto& day = selectedDay.get();
    return day ? day->ledger : nullptr;
}

AppState AppStore::state() const {
    return {.live = timeline,
            .links = itemStatuses,
            .days = availableSnapshots,
            .day = selectedDay,
            .error = lastError,
            .auth = auth.state,
            .authError = auth.lastAuthError,
            .refreshInterval = settings.refreshInterval,
            .isLoading = isLoading};
}

void AppStore::openBackendPage(QLatin1StringView path) {
    const QUrl url(settings.backend.get() + path, QUrl::StrictMode);
    if (url.isValid()) {
        services.workspace.open(url);
    }
}

void AppStore::applyLaunchAtLogin(bool enabled) {
    try {
        if (enabled) {
            services.loginItem.register_();
        } else {
            services.loginItem.unregister();
        }
    } catch (const LocalizedError& error) {
        lastError = u"Login item update failed: "_s + error.errorDescription();
    }
}

std::optional<QString> AppStore::loginItemStatusMessage() const {
    switch (services.loginItem.status()) {
    case LoginItemStatus::requiresApproval:
        return u"Approval needed — open System Settings → General → Login Items and enable Quillo."_s;
    case LoginItemStatus::notFound:
        return u"Login item couldn't be registered (app must live in /Applications)."_s;
    case LoginItemStatus::notRegistered:
    case LoginItemStatus::enabled:
        break;
    }
    return std::nullopt;
}

} // namespace quillo
