#include "ui/QuilloApp.h"

#include "BuildConfiguration.h"
#include "net/APIClient.h"
#include "net/HTTPSession.h"
#include "platform/defaults/UserDefaults.h"
#include "platform/desktop/ApplicationActivity.h"
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
#include "ui/Environment.h"
#include "ui/SettingsView.h"
#include "ui/SingleWindow.h"
#include "ui/StatusItemScene.h"
#include "ui/ledger/LedgerView.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QMainWindow>
#include <QUrl>

namespace quillo {

/// In the order in which they are made; each uses only those before it.
struct QuilloApp::Parts {
    explicit Parts(const MenuActions& actions)
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
          environment(store),
          ledger(withMenuBar(ledgerScene([] { return new LedgerView; }), notifications, actions)),
          settings(withMenuBar(settingsScene([] { return new SettingsView; }), notifications, actions)),
          statusItem(QDBusConnection::sessionBus(), notifications, actions) {}

    static WindowScene withMenuBar(WindowScene scene, NotificationCenter& notifications,
                                   const MenuActions& actions) {
        scene.prepare = [&notifications, actions](QMainWindow& window) {
            new ApplicationMenu(window, notifications, actions);
        };
        return scene;
    }

    /// Makes sure that the program starts at login. A failure is nothing the user has to deal with now: the
    /// settings window shows the state.
    static LoginItem registeredLoginItem() {
        auto item = LoginItem::mainApp();
        try {
            item.register_();
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
    Environment environment;
    SleepMonitor sleepMonitor{QDBusConnection::systemBus(), notifications};
    ApplicationActivity activity{notifications};
    TerminationSignals termination{[] { QCoreApplication::quit(); }};
    SingleWindow ledger;
    SingleWindow settings;
    StatusItemScene statusItem;
    IdleMemory memory;
    Observation storeActivity = store.objectWillChange.observe([this] { memory.noteActivity(); });
};

QuilloApp::QuilloApp(SingleInstance& instance)
    : parts(std::make_unique<Parts>(MenuActions{
          .openLedger = [this] { parts->ledger.open(); },
          .openHelp = [this] { parts->workspace.open(QUrl(build::helpUrl, QUrl::StrictMode)); },
          .openSettings = [this] { parts->settings.open(); },
          .quit = [] { QCoreApplication::quit(); },
      })) {
    instance.setRequests({
        .openLedger = [this] { parts->ledger.open(); },
        .refresh = [this] { parts->store.start(parts->store.refresh()); },
        .settings = [this] { parts->settings.open(); },
        .quit = [] { QCoreApplication::quit(); },
    });
    parts->statusItem.show();
}

QuilloApp::~QuilloApp() = default;

} // namespace quillo
