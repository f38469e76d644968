#include "ui/ApplicationMenu.h"

#include "BuildConfiguration.h"
#include "platform/desktop/NotificationCenter.h"
#include "platform/symbols/Symbols.h"
#include "store/AppStore.h"
#include "ui/Environment.h"
#include "ui/MenuRenderer.h"

#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>

namespace quillo {

namespace {

constexpr QSize aboutIconSize(64, 64);

} // namespace

ApplicationMenu::ApplicationMenu(QMainWindow& owner, NotificationCenter& notifications,
                                 const MenuActions& actions)
    : QObject(&owner),
      window(owner),
      store(Environment::store()),
      content(actions),
      statusMenu(new MenuRenderer(&owner)),
      updates(store, [this] { render(); }) {
    auto* menu = window.menuBar()->addMenu(QStringLiteral("&Quillo"));
    connect(menu, &QMenu::aboutToShow, this,
            [&notifications] { notifications.post(notification::menuDidBeginTracking); });
    connect(menu->addAction(QStringLiteral("About Quillo")), &QAction::triggered, this,
            [this] { showAbout(); });
    auto* refresh = menu->addAction(QStringLiteral("Refresh"));
    refresh->setShortcut(Qt::CTRL | Qt::Key_R);
    refresh->setAutoRepeat(false); // a key that is held asks once
    connect(refresh, &QAction::triggered, this, [this] { store.start(store.refresh()); });
    menu->addSeparator();
    connect(menu->addAction(QStringLiteral("Settings…")), &QAction::triggered, this, actions.openSettings);
    statusMenu->setTitle(QStringLiteral("Balance and actions"));
    menu->addMenu(statusMenu);
    menu->addSeparator();
    auto* quit = menu->addAction(QStringLiteral("Quit Quillo"));
    quit->setShortcut(Qt::CTRL | Qt::Key_Q);
    connect(quit, &QAction::triggered, this, actions.quit);
    render();
}

void ApplicationMenu::showAbout() {
    auto* about = new QMessageBox(QMessageBox::NoIcon, QStringLiteral("About Quillo"),
                                  QStringLiteral("Quillo %1").arg(build::version), QMessageBox::Ok, &window);
    about->setInformativeText(
        QStringLiteral("Keeps your credit-card balance in view.\nFree software under the MIT "
                       "licence."));
    about->setIconPixmap(applicationIcon().pixmap(aboutIconSize, window.devicePixelRatioF()));
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->open();
}

void ApplicationMenu::render() {
    statusMenu->setMenu(content.menu());
}

} // namespace quillo
