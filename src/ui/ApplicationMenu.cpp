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

void showAbout(QMainWindow& window) {
    auto* about = new QMessageBox(QMessageBox::NoIcon, u"About Quillo"_s, u"Quillo %1"_s.arg(build::version),
                                  QMessageBox::Ok, &window);
    about->setInformativeText(u"Keeps your credit-card balance in view.\nFree software under the MIT "
                              "licence."_s);
    about->setIconPixmap(applicationIcon().pixmap(aboutIconSize, window.devicePixelRatioF()));
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->open();
}

} // namespace

MenuRenderer* addApplicationMenu(QMainWindow& window, const MenuActions& actions) {
    auto* menu = window.menuBar()->addMenu(u"&Quillo"_s);
    auto* statusMenu = new MenuRenderer(&window);
    statusMenu->setTitle(u"Balance and actions"_s);
    menu->addAction(u"About Quillo"_s, &window, [&window] { showAbout(window); });
    auto* refresh = menu->addAction(u"Refresh"_s, Qt::CTRL | Qt::Key_R, &window, actions.refresh);
    menu->addSeparator();
    menu->addAction(u"Settings…"_s, &window, actions.openSettings);
    menu->addMenu(statusMenu);
    menu->addSeparator();
    auto* quit = menu->addAction(u"Quit Quillo"_s, Qt::CTRL | Qt::Key_Q, &window, actions.quit);
    for (auto* action : {refresh, quit}) {
        action->setAutoRepeat(false); // a key that is held asks once
    }
    return statusMenu;
}

} // namespace quillo
