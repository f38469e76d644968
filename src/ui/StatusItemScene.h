#pragma once

#include "platform/tray/StatusItem.h"
#include "ui/MenuBarContent.h"
#include "ui/MenuBarLabel.h"
#include "ui/ViewUpdates.h"

#include <QDBusConnection>

#include <memory>

namespace quillo {

class MenuRenderer;

/// The status item: the label as its face, the content as its menu. The panel shows the menu, or asks for it
/// to be shown; then it opens at the pointer, or, where the window system lets no program do that, the ledger
/// window opens in its place.
class StatusItemScene {
public:
    /// Takes the store from the environment.
    StatusItemScene(const QDBusConnection& connection, NotificationCenter& notifications,
                    MenuActions actions);
    StatusItemScene(const StatusItemScene&) = delete;
    StatusItemScene& operator=(const StatusItemScene&) = delete;
    ~StatusItemScene();

    /// Puts the item on the panel, as soon as there is one.
    void show();

private:
    void render();
    void openMenu();

    NotificationCenter& notifications;
    std::function<void()> openLedger;
    MenuBarLabel label;
    MenuBarContent content;
    StatusItem item;
    std::unique_ptr<MenuRenderer> menu; ///< made when a panel first asks for it
    ViewUpdates updates;
};

} // namespace quillo
