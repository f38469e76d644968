#include "ui/ApplicationMenu.h"

#include "BuildConfiguration.h"
#include "ui/MenuRenderer.h"

#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>

namespace quillo {

ApplicationMenu::ApplicationMenu(QMainWindow& owner, const MenuActions& whatToDo)
    : QObject(&owner), window(owner), actions(whatToDo), statusMenu(new MenuRenderer(&owner)) {
    auto* menu = window.menuBar()->addMenu(QStringLiteral("&Quillo"));
    connect(menu->addAction(QStringLiteral("About Quillo")), &QAction::triggered, this,
            [this] { showAbout(); });
    auto* refresh = menu->addAction(QStringLiteral("Refresh"));
    refresh->setShortcut(Qt::CTRL | Qt::Key_R);
    refresh->setAutoRepeat(false); // a key that is held asks once
    connect(refresh, &QAction::triggered, this, actions.refresh);
    menu->addSeparator();
    connect(menu->addAction(QStringLiteral("Settings…")), &QAction::triggered, this, actions.openSettings);
    statusMenu->setTitle(QStringLiteral("Balance and actions"));
    menu->addMenu(statusMenu);
    menu->addSeparator();
    auto* quit = menu->addAction(QStringLiteral("Quit Quillo"));
    quit->setShortcut(Qt::CTRL | Qt::Key_Q);
    quit->setAutoRepeat(false);
    connect(quit, &QAction::triggered, this, actions.quit);
}

void ApplicationMenu::showAbout() {
    auto* about = new QMessageBox(QMessageBox::NoIcon, QStringLiteral("About Quillo"),
                                  QStringLiteral("Quillo %1").arg(build::version), QMessageBox::Ok, &window);
    about->setInformativeText(
        QStringLiteral("Keeps your credit-card balance in view.\nFree software under the MIT "
                       "licence."));
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->open();
}

void ApplicationMenu::render(const AppState& state) {
    statusMenu->setMenu(menuBarContent(state, actions));
}

} // namespace quillo
