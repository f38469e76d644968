#pragma once

#include "platform/tray/StatusItem.h"
#include "ui/MenuBarContent.h"
#include "ui/MenuBarLabel.h"
#include "ui/ViewUpdates.h"

#include <QDBusConnection>

namespace quillo {

/// The status item: the label as its face, the content as its menu.
class StatusItemScene {
public:
    /// Takes the store from the environment.
    StatusItemScene(const QDBusConnection& connection, NotificationCenter& notifications,
                    MenuActions actions);

    /// Puts the item on the panel, as soon as there is one.
    void show();

private:
    void render();

    MenuBarLabel label;
    MenuBarContent content;
    StatusItem item;
    ViewUpdates updates;
};

} // namespace quillo
