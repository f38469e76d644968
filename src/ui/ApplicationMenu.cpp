#include "ui/ApplicationMenu.h"

#include "BuildConfiguration.h"
#include "platform/symbols/Symbols.h"
#include "ui/MenuRenderer.h"

#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize aboutIconSize(64, 64);

} // namespace

ApplicationMenu::ApplicationMenu(QMainWindow& owner, const MenuActions& whatToDo)
    : QObject(&owner), window(owner), actions(whatToDo), statusMenu(new MenuRenderer(&owner)) {
    auto* menu = window.menuBar()->addMenu(u"&Quillo"_s);
    connect(menu->addAction(u"About Quillo"_s), &QAction::triggered, this, [this] { showAbout(); });
    auto* refresh = menu->addAction(u"Refresh"_s);
    refresh->setShortcut(Qt::CTRL | Qt::Key_R);
    refresh->setAutoRepeat(false); // a key that is held asks once
    connect(refresh, &QAction::triggered, this, actions.refresh);
    menu->addSeparator();
    connect(menu->addAction(u"Settings…"_s), &QAction::triggered, this, actions.openSettings);
    statusMenu->setTitle(u"Balance and actions"_s);
    menu->addMenu(statusMenu);
    menu->addSeparator();
    auto* quit = menu->addAction(u"Quit Quillo"_s);
    quit->setShortcut(Qt::CTRL | Qt::Key_Q);
    quit->setAutoRepeat(false);
    connect(quit, &QAction::triggered, this, actions.quit);
}

void ApplicationMenu::showAbout() {
    auto* about = new QMessageBox(QMessageBox::NoIcon, u"About Quillo"_s, u"Quillo %1"_s.arg(build::version),
                                  QMessageBox::Ok, &window);
    about->setInformativeText(u"Keeps your credit-card balance in view.\nFree software under the MIT "
                              "licence."_s);
    about->setIconPixmap(applicationIcon().pixmap(aboutIconSize, window.devicePixelRatioF()));
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->open();
}

void ApplicationMenu::render(const AppState& state) {
    statusMenu->setMenu(menuBarContent(state, actions));
}

} // namespace quillo
