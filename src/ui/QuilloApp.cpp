#include "ui/QuilloApp.h"

#include "BuildConfiguration.h"
#include "net/APIClient.h"
#include "net/HTTPSession.h"
#include "platform/desktop/ActivationToken.h"
#include "platform/desktop/SingleInstance.h"
#include "store/GlobalHotKey.h"
#include "ui/ApplicationMenu.h"
#include "ui/MenuBarLabel.h"
#include "ui/MenuRenderer.h"
#include "ui/SettingsView.h"
#include "ui/ledger/LedgerView.h"

#include <QCursor>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QToolTip>
#include <QUrl>

namespace quillo {

namespace {

/// Makes sure that the program starts at login. A failure is nothing the user has to deal with now: the
/// settings window shows the state.
LoginItem registeredLoginItem() {
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

} // namespace

QuilloApp::QuilloApp(SingleInstance& instance)
    : loginItem(registeredLoginItem()),
      termination(&QCoreApplication::quit),
      store({.clock = clock,
             .notifications = notifications,
             .workspace = workspace,
             .defaults = defaults,
             .secrets = secrets,
             .session = HTTPSession::shared(),
             .client = APIClient::shared(),
             .loginItem = loginItem,
             .hotKey = GlobalHotKey::shared(),
             .identityOrigin = build::identityOrigin}),
      actions(makeActions()),
      sleepMonitor(monitorSleep(QDBusConnection::systemBus(), notifications)),
      ledger(withMenuBar(ledgerScene([this] { return makeLedger(); }))),
      settings(withMenuBar(settingsScene([this] { return new SettingsView(store); }))),
      ledgerRequests(notifications.observe(notification::openLedgerRequested, actions.openLedger)),
      statusItem(QDBusConnection::sessionBus()),
      statusUpdates(store, [this](const AppState& state) { renderStatusItem(state); }) {
    instance.setRequests({
        .openLedger = actions.openLedger,
        .refresh = actions.refresh,
        .settings = actions.openSettings,
        .quit = actions.quit,
    });
    connectStatusItem();
    statusItem.show();
}

QuilloApp::~QuilloApp() = default;

MenuActions QuilloApp::makeActions() {
    return {
        .openLedger = [this] { ledger.open(); },
        .refresh = [this] { store.start(store.refresh()); },
        .pullUpdates = [this] { store.start(store.syncNow()); },
        .pullFromBank = [this] { store.start(store.refreshFromBank()); },
        .openLinkPage = [this] { store.openLinkPage(); },
        .openReconnect = [this] { store.openReconnect(); },
        .setRefreshInterval = [this](qint64 seconds) { store.settings.refreshInterval = seconds; },
        .openHelp = [this] { workspace.open(QUrl(build::helpUrl, QUrl::StrictMode)); },
        .openSettings = [this] { settings.open(); },
        .signIn = [this] { store.auth.signIn(); },
        .signOut = [this] { store.auth.signOut(); },
        .quit = [] { QCoreApplication::quit(); },
    };
}

QWidget* QuilloApp::makeLedger() {
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

WindowScene QuilloApp::withMenuBar(WindowScene scene) {
    scene.prepare = [this](QMainWindow& window) {
        auto* menu = addApplicationMenu(window, actions);
        new ViewUpdates(
            store, [this, menu](const AppState& state) { menu->setMenu(menuBarContent(state, actions)); },
            menu);
    };
    return scene;
}

void QuilloApp::connectStatusItem() {
    QObject::connect(&statusItem, &StatusItem::menuBeganTracking, &statusItem,
                     [this] { notifications.post(notification::menuDidBeginTracking); });
    QObject::connect(&statusItem, &StatusItem::menuRequested, &statusItem, [this] { openStatusMenu(); });
    QObject::connect(&statusItem, &StatusItem::toolTipRequested, &statusItem,
                     [](const QPoint& position, const QString& text) { QToolTip::showText(position, text); });
    QObject::connect(&statusItem, &StatusItem::activationTokenReceived, &statusItem, &ActivationToken::offer);
}

void QuilloApp::renderStatusItem(const AppState& state) {
    const auto label = MenuBarLabel::of(state);
    statusItem.setFace({.symbol = label.iconName, .text = label.text, .shortText = label.shortText});
    statusItem.setMenu(menuBarContent(state, actions));
    if (statusMenu && statusMenu->isVisible()) {
        statusMenu->setMenu(menuBarContent(state, actions));
    }
}

/// For a panel that leaves showing the menu to the program: at the pointer or, where the window system lets
/// no program do that, the ledger window in its place.
void QuilloApp::openStatusMenu() {
    // A Wayland compositor places a menu only beside a window of its program.
    if (QGuiApplication::platformName().startsWith(u"wayland")) {
        actions.openLedger();
        return;
    }
    if (!statusMenu) {
        statusMenu = std::make_unique<MenuRenderer>();
    }
    statusMenu->setMenu(menuBarContent(store.state(), actions));
    statusMenu->popup(QCursor::pos());
}

} // namespace quillo
