#pragma once

#include <QAbstractNativeEventFilter>
#include <QColor>
#include <QObject>

#include <optional>

#include <xcb/xcb.h>

namespace quillo {

/// The display's system tray for windows: whoever owns the selection `_NET_SYSTEM_TRAY_S0`, and whenever.
/// https://specifications.freedesktop.org/systemtray-spec/,
/// https://specifications.freedesktop.org/xembed-spec/
///
/// Trays are announced by the X server's events on the toolkit's connection; nothing here polls. Only for
/// programs that run on X11. Signals come on a later turn of the event loop, but for one.
class XEmbedTray final : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT
public:
    XEmbedTray();
    ~XEmbedTray() override;

    [[nodiscard]] bool isThere() const noexcept { return owner != XCB_NONE; }

    /// Whether windows with an alpha channel show the panel behind them (`_NET_SYSTEM_TRAY_VISUAL`).
    [[nodiscard]] bool showsThrough() const;

    /// The colour of the tray's own icons (`_NET_SYSTEM_TRAY_COLORS`), where it tells.
    [[nodiscard]] std::optional<QColor> foreground() const;

    /// Asks the tray to take a window, which says by `_XEMBED_INFO` that it wants to be shown. There is no
    /// answer but `embedded`.
    void dock(xcb_window_t window);

    /// Has the window, which draws nothing where the panel is to be seen, filled with its parent's
    /// background.
    void clearToParent(xcb_window_t window);

    /// Sends what the toolkit has asked of the server so far; by itself it may wait until something happens.
    void flush() noexcept { xcb_flush(connection); }

Q_SIGNALS:
    /// There is a tray, none, or another one.
    void changed();

    void foregroundChanged();

    /// A window of this program was put into another one. Comes at once, while the toolkit still knows the
    /// window as hidden.
    void embedded(quint32 window);

    /// A window of this program was put back to the root, or has gone, by whatever hand.
    void released(quint32 window);

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void look();
    void letGo(xcb_window_t window);
    [[nodiscard]] xcb_atom_t atom(const char* name) const;
    /// The first `count` numbers of a property of the tray's; none when there are not as many.
    [[nodiscard]] std::optional<QList<quint32>> property(xcb_atom_t name, xcb_atom_t type,
                                                         quint32 count) const;

    xcb_connection_t* connection;
    xcb_window_t root = XCB_NONE;
    xcb_window_t owner = XCB_NONE;
    xcb_atom_t selection = XCB_NONE;
    xcb_atom_t manager = XCB_NONE;
    xcb_atom_t colours = XCB_NONE;
};

} // namespace quillo
