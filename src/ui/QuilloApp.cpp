#include "ui/QuilloApp.h"

#include "net/APIClient.h"
#include "net/HTTPSession.h"
#include "net/SecretStore.h"
#include "platform/ApplicationActivity.h"
#include "platform/BuildConfiguration.h"
#include "platform/LoginItem.h"
#include "platform/NotificationCenter.h"
#include "platform/SingleInstance.h"
#include "platform/SleepMonitor.h"
#include "platform/TerminationSignals.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"
#include "store/AppStore.h"
#include "ui/Environment.h"
#include "ui/LedgerWindow.h"
#include "ui/StatusItemScene.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QUrl>

namespace quillo {

/// In the order in which they are made; each uses only those before it.
struct QuilloApp::Parts {
    explicit Parts(MenuActions actions)
        : store({.clock = clock,
                 .notifications = notifications,
                 .workspace = workspace,
                 .defaults = defaults,
                 .secrets = secrets,
                 .session = HTTPSession::shared(),
                 .client = APIClient::shared(),
                 .loginItem = loginItem,
                 .identityOrigin = build::identityOrigin}),
          environment(store),
          statusItem(QDBusConnection::sessionBus(), notifications, std::move(actions)) {}

    /// Makes sure that the program starts at login. A failure is nothing the user has to deal with now: the
    /// settings window shows the state.
    struct LoginItemAtLaunch : LoginItem {
        LoginItemAtLaunch() : LoginItem(build::applicationId, QCoreApplication::applicationFilePath()) {
            if (status() == LoginItemStatus::enabled) {
                return;
            }
            try {
                register_();
            } catch (const LoginItemError&) {
                // Shown by the settings window's status message, if it matters.
            }
        }
    };

    LoginItemAtLaunch loginItem;
    SystemClock clock;
    NotificationCenter& notifications = NotificationCenter::defaultCenter();
    Workspace workspace;
    UserDefaults defaults;
    SecretStore secrets;
    AppStore store;
    Environment environment;
    SleepMonitor sleepMonitor{QDBusConnection::systemBus(), notifications};
    ApplicationActivity activity{notifications};
    TerminationSignals termination{[] { QCoreApplication::quit(); }};
    LedgerWindow ledger;
    StatusItemScene statusItem;
};

QuilloApp::QuilloApp(SingleInstance& instance)
    : parts(std::make_unique<Parts>(MenuActions{
          .openLedger = [this] { parts->ledger.open(); },
          .openHelp = [this] { parts->workspace.open(QUrl(build::helpUrl, QUrl::StrictMode)); },
          .openSettings = [this] { openSettings(); },
          .quit = [] { QCoreApplication::quit(); },
      })) {
    instance.setRequests({
        .openLedger = [this] { parts->ledger.open(); },
        .refresh = [this] { parts->store.start(parts->store.refresh()); },
        .settings = [this] { openSettings(); },
        .quit = [] { QCoreApplication::quit(); },
    });
    parts->statusItem.show();
}

QuilloApp::~QuilloApp() = default;

void QuilloApp::openSettings() {}

} // namespace quillo
