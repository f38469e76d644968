#include "ui/QuilloApp.h"

#include "BuildConfiguration.h"
#include "net/APIClient.h"
#include "net/HTTPSession.h"
#include "platform/defaults/UserDefaults.h"
#include "platform/desktop/IdleMemory.h"
#include "platform/desktop/LoginItem.h"
#include "platform/desktop/NotificationCenter.h"
#include "platform/desktop/SingleInstance.h"
#include "platform/desktop/SleepMonitor.h"
#include "platform/desktop/TerminationSignals.h"
#include "platform/desktop/Workspace.h"
#include "platform/secrets/SecretStore.h"
#include "store/AppStore.h"
#include "store/GlobalHotKey.h"
#include "ui/ApplicationMenu.h"
#include "ui/MenuTracking.h"
#include "ui/SettingsView.h"
#include "ui/SingleWindow.h"
#include "ui/StatusItemScene.h"
#include "ui/ViewUpdates.h"
#include "ui/ledger/LedgerView.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QMainWindow>
#include <QUrl>

namespace quillo {

/// In the order in which they are made; each uses only those before it.
struct QuilloApp::Parts {
    explicit Parts(const std::function<void()>& openLedger, const std::function<void()>& openSettings)
        : store({.clock = clock,
                 .notifications = notifications,
                 .workspace = workspace,
                 .defaults = defaults,
                 .secrets = secrets,
                 .session = HTTPSession::shared(),
                 .client = APIClient::shared(),
                 .loginItem = loginItem,
                 .hotKey = GlobalHotKey::shared(),
                 .identityOrigin = build::identityOrigin}),
          actions(actionsOf(store, workspace, openLedger, openSettings)),
          ledger(withMenuBar(ledgerScene([this] { return makeLedger(); }))),
          settings(withMenuBar(settingsScene([this] { return new SettingsView(store); }))),
          statusItem(QDBusConnection::sessionBus(), store, notifications, actions) {}

    static MenuActions actionsOf(AppStore& store, const Workspace& workspace,
                                 const std::function<void()>& openLedger,
                                 const std::function<void()>& openSettings) {
        return {
            .openLedger = openLedger,
            .refresh = [&store] { store.start(store.refresh()); },
            .pullUpdates = [&store] { store.start(store.syncNow()); },
            .pullFromBank = [&store] { store.start(store.refreshFromBank()); },
            .openLinkPage = [&store] { store.openLinkPage(); },
            .openReconnect = [&store] { store.openReconnect(); },
            .setRefreshInterval = [&store](qint64 seconds) { store.settings.refreshInterval = seconds; },
            .openHelp = [&workspace] { workspace.open(QUrl(build::helpUrl, QUrl::StrictMode)); },
            .openSettings = openSettings,
            .signIn = [&store] { store.auth.signIn(); },
            .signOut = [&store] { store.auth.signOut(); },
            .quit = [] { QCoreApplication::quit(); },
        };
    }

    QWidget* makeLedger() {
        auto* view = new LedgerView({
            .pullUpdates = actions.pullUpdates,
            .pullFromBank = actions.pullFromBank,
            .openReconnect = actions.openReconnect,
            .loadSnapshots = [this] { return store.loadSnapshots(); },
            .loadSnapshot = [this](auto date) { store.start(store.loadSnapshot(std::move(date))); },
        });
        new ViewUpdates(
            store, [view](const AppState& state) { view->render(state); }, view);
        return view;
    }

    WindowScene withMenuBar(WindowScene scene) {
        scene.prepare = [this](QMainWindow& window) {
            auto* menu = new ApplicationMenu(window, actions);
            new ViewUpdates(
                store, [menu](const AppState& state) { menu->render(state); }, menu);
        };
        return scene;
    }

    /// Makes sure that the program starts at login. A failure is nothing the user has to deal with now: the
    /// settings window shows the state.
    static LoginItem registeredLoginItem() {
        auto item = LoginItem::mainApp();
        try {
            if (item.status() != LoginItemStatus::enabled) {
                item.register_();
            }
        } catch (const LoginItemError&) {
            // Shown by the settings window's status message, if it matters.
        }
        return item;
    }

    LoginItem loginItem = registeredLoginItem();
    SystemClock clock;
    NotificationCenter notifications;
    Workspace workspace;
    UserDefaults defaults;
    SecretStore secrets;
    AppStore store;
    MenuActions actions;
    std::unique_ptr<QObject> sleepMonitor = monitorSleep(QDBusConnection::systemBus(), notifications);
    std::unique_ptr<QObject> activity = watchActivity(notifications);
    MenuTracking menuTracking{notifications};
    TerminationSignals termination{[] { QCoreApplication::quit(); }};
    SingleWindow ledger;
    SingleWindow settings;
    StatusItemScene statusItem;
    IdleMemory memory;
    Observation storeActivity = store.objectWillChange.observe([this] { memory.noteActivity(); });
};

QuilloApp::QuilloApp(SingleInstance& instance)
    : parts(std::make_unique<Parts>([this] { parts->ledger.open(); }, [this] { parts->settings.open(); })) {
    const auto& actions = parts->actions;
    instance.setRequests({
        .openLedger = actions.openLedger,
        .refresh = actions.refresh,
        .settings = actions.openSettings,
        .quit = actions.quit,
    });
    parts->statusItem.show();
}

QuilloApp::~QuilloApp() = default;

} // namespace quillo
