#pragma once

#include "core/Signal.h"
#include "platform/tray/StatusItem.h"
#include "ui/MenuBarContent.h"
#include "ui/ViewUpdates.h"

#include <QDBusConnection>

#include <memory>

namespace quillo {

class AppStore;
class MenuRenderer;
class NotificationCenter;

/// The status item: `MenuBarLabel` as its face, `menuBarContent` as its menu. The panel shows the menu, or
/// asks for it to be shown; then it opens at the pointer, or, where the window system lets no program do
/// that, the ledger window opens in its place.
///
/// It lives as long as the application, so it is also where requests to open the ledger are answered
/// (`notification::openLedgerRequested`).
class StatusItemScene {
public:
    /// Puts the item on the panel, as soon as there is one.
    StatusItemScene(const QDBusConnection& connection, AppStore& store, NotificationCenter& notifications,
                    MenuActions actions);
    StatusItemScene(const StatusItemScene&) = delete;
    StatusItemScene& operator=(const StatusItemScene&) = delete;
    ~StatusItemScene();

private:
    void render(const AppState& state);
    void openMenu();

    AppStore& store;
    MenuActions actions;
    Observation ledgerRequests;
    StatusItem item;
    std::unique_ptr<MenuRenderer> menu; ///< made when a panel first asks for it
    ViewUpdates updates;
};

} // namespace quillo
