#pragma once

#include "ui/MenuBarContent.h"

#include <QObject>

class QMainWindow;

namespace quillo {

class MenuRenderer;

/// The application menu in a window's menu bar: About, "Refresh", "Settings…", the status item's whole menu,
/// so that a desktop without a tray loses nothing, and "Quit Quillo". Lives as long as its window.
class ApplicationMenu final : public QObject {
    Q_OBJECT
public:
    ApplicationMenu(QMainWindow& window, const MenuActions& actions);

    void render(const AppState& state);

private:
    void showAbout();

    QMainWindow& window;
    MenuActions actions;
    MenuRenderer* statusMenu;
};

} // namespace quillo
