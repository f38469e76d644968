#pragma once

#include "ui/MenuBarContent.h"
#include "ui/ViewUpdates.h"

#include <QObject>

class QMainWindow;

namespace quillo {

class MenuRenderer;
class NotificationCenter;

/// The application menu in a window's menu bar: About, "Refresh", "Settings…", the status item's whole menu,
/// so that a desktop without a tray loses nothing, and "Quit Quillo". Lives as long as its window.
class ApplicationMenu final : public QObject {
    Q_OBJECT
public:
    /// Takes the store from the environment. Opening the menu posts `notification::menuDidBeginTracking`.
    ApplicationMenu(QMainWindow& window, NotificationCenter& notifications, const MenuActions& actions);

private:
    void showAbout();
    void render();

    QMainWindow& window;
    AppStore& store;
    MenuBarContent content;
    MenuRenderer* statusMenu;
    ViewUpdates updates;
};

} // namespace quillo
