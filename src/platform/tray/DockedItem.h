#pragma once

#include "platform/tray/PaintedIcon.h"

#include <QAbstractNativeEventFilter>
#include <QColor>
#include <QObject>
#include <QPoint>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>

#include <xcb/xcb.h>

namespace quillo {

class DockedWindow;

/// The item as a window in the display's XEmbed tray, in every tray to come, until it is destroyed. Each tray
/// is asked once. No window exists, or can be seen, but in a tray. Only for programs that run on X11.
///
/// The tray is whoever owns the selection `_NET_SYSTEM_TRAY_S0`. Trays are announced by the X server's events
/// on the toolkit's connection; nothing here polls.
/// https://specifications.freedesktop.org/systemtray-spec/,
/// https://specifications.freedesktop.org/xembed-spec/
class DockedItem final : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT
public:
    enum class State {
        noTray,
        docking, ///< a tray is asked
        docked,
        refused, ///< the present tray has not taken the window, or has let it go
    };

    /// A tray says nothing when it refuses: one that has not taken the window within `patience` has. One that
    /// is only slow, as at login, has time enough.
    explicit DockedItem(std::chrono::milliseconds patience = std::chrono::seconds(10));
    ~DockedItem() override;

    [[nodiscard]] State state() const noexcept { return present; }

    /// The tray's own colour, where it has one, goes before that of the style.
    void setFace(const ItemFace& face, const PaintStyle& style);

Q_SIGNALS:
    /// In state `docking` the window's face may still be set before the tray sees it.
    void stateChanged();

    void pressed();

    /// At that place of the screen.
    void pointerRested(const QPoint& position);

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void findTray();
    void onTrayChanged();
    void dock();
    /// Says by `_XEMBED_INFO` that the window wants to be shown. There is no answer but that it is embedded.
    void askTray();
    /// A window of this program was put into another one; the toolkit still knows it as hidden.
    void onEmbedded(xcb_window_t moved);
    /// A window of this program was put back to the root, or has gone, by whatever hand.
    void onReleased(xcb_window_t released);
    void letGo(State next);
    void setState(State next);
    void render();
    /// Has the window filled with the tray's background.
    void clearWindow();
    /// Whether windows with an alpha channel show the panel behind them (`_NET_SYSTEM_TRAY_VISUAL`).
    [[nodiscard]] bool showsThrough() const;
    /// The colour of the tray's own icons (`_NET_SYSTEM_TRAY_COLORS`), where it tells.
    [[nodiscard]] std::optional<QColor> foreground() const;
    /// The first `count` numbers of a property of the tray's; none when there are not as many.
    [[nodiscard]] std::optional<QList<quint32>> property(xcb_atom_t name, xcb_atom_t type,
                                                         quint32 count) const;

    xcb_connection_t* connection;
    xcb_window_t root;
    xcb_atom_t selection;
    xcb_atom_t manager;
    xcb_atom_t colours;
    xcb_window_t owner = XCB_NONE; ///< of the selection
    std::unique_ptr<DockedWindow> window;
    ItemFace face;
    PaintStyle style;
    State present = State::noTray;
    QTimer waiting;
};

} // namespace quillo
