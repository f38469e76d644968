#pragma once

#include "platform/tray/HostTable.h"
#include "platform/tray/MenuEntry.h"
#include "platform/tray/PaintedIcon.h"

#include <QDBusConnection>
#include <QObject>
#include <QPoint>
#include <QTimer>

#include <memory>
#include <optional>

namespace quillo {

class DBusMenu;
class DockedItem;
class HostRegistration;
class PanelStyle;
class StatusNotifierItem;

/// The program's item on the panel, with symbol, text and menu: `org.kde.StatusNotifierItem` at
/// `/StatusNotifierItem` and `com.canonical.dbusmenu` at `/MenuBar` of the given connection. On X11, where
/// nobody owns the watcher's name, and where its owner shows windows better than items, a window in the
/// XEmbed tray; never both. A window has no menu of its own: `menuRequested` asks for it.
///
/// Panels may start late, come again any number of times, or never come; nothing here waits for one, polls or
/// blocks. Setting what is shown already sends nothing. For the thread that runs the main event loop.
class StatusItem final : public QObject {
    Q_OBJECT
public:
    /// `connection` may be a closed one; then nothing is ever shown.
    explicit StatusItem(const QDBusConnection& connection, QObject* parent = nullptr);
    ~StatusItem() override;

    void setFace(const ItemFace& next);

    /// Replaces the menu. Actions are replaced also where what is shown stays the same.
    void setMenu(Menu menu);

    /// Puts the item on the panel and on every panel to come, until it is destroyed. Face and menu should be
    /// set before.
    void show();

    /// Whether a panel has taken the item.
    [[nodiscard]] bool isOnPanel() const noexcept;

    /// How the present panel gets to show the text.
    [[nodiscard]] TextWay textWay() const noexcept { return way; }

Q_SIGNALS:
    /// The user opened the menu; once for each opening.
    void menuBeganTracking();

    /// The panel hands over the right to raise a window for the click that follows (xdg-activation).
    void activationTokenReceived(const QString& token);

    /// The user clicked on a panel that leaves showing the menu to the program. It belongs at the pointer:
    /// some panels say nonsense of the place.
    void menuRequested();

    /// The pointer rests at that place of the screen, where the program itself has to show a tool tip. `text`
    /// is the same as rich text and as plain text.
    void toolTipRequested(const QPoint& position, const QString& text);

private:
    void serve(const HostTraits& traits);
    void serveNobody();
    void setWay(TextWay next, PanelLook look);
    void takePlaceInTray();
    void onDockingChanged();
    void registerAsSquare();
    void render();

    QDBusConnection connection;
    std::unique_ptr<StatusNotifierItem> item;
    std::unique_ptr<DBusMenu> menu;
    std::unique_ptr<HostRegistration> registration;
    std::unique_ptr<PanelStyle> paint;  ///< only while something is painted
    std::unique_ptr<DockedItem> docked; ///< only while a tray for windows is to be used
    QTimer trayWait;
    ItemFace face;
    TextWay way;
    std::optional<HostTraits> host; ///< of the watcher's present owner
};

} // namespace quillo
