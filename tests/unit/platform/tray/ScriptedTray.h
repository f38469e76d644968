#pragma once

#include <QColor>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QSocketNotifier>

#include <memory>
#include <optional>
#include <vector>

#include <xcb/xcb.h>

namespace quillo::test {

/// A system tray for windows that behaves as the test says, on a connection to the X server of its own.
class ScriptedTray final {
public:
    enum class Manner {
        takes,
        ignores,       ///< does nothing with a window that asks to be taken
        diesWhenAsked, ///< ends without a word
        keepsSquares,  ///< takes windows as squares, and gives no other size
    };

    explicit ScriptedTray(const QByteArray& display, Manner manner = Manner::takes);
    ScriptedTray(const ScriptedTray&) = delete;
    ScriptedTray& operator=(const ScriptedTray&) = delete;
    ~ScriptedTray();

    /// Tells windows the visual with an alpha channel, or the colour of its own icons.
    void offerTransparency();
    void setForeground(const QColor& colour);

    /// Becomes the display's tray and says so.
    void start();

    /// Ends the connection, as when the tray's program dies.
    void crash();

    /// The windows that asked to be taken, in order.
    [[nodiscard]] const std::vector<xcb_window_t>& asked() const noexcept { return windows; }

    /// Those of them that are within this tray now.
    [[nodiscard]] int count();

    struct Look {
        QSize size = {};
        int depth = 0;
        bool visible = false;
    };
    /// What the server says of a window; none when it has gone.
    [[nodiscard]] std::optional<Look> look(xcb_window_t window);

    /// What is painted in a visible window, as far as it is within this tray's.
    [[nodiscard]] QImage picture(xcb_window_t window);

    void resize(xcb_window_t window, const QSize& size);

    /// Puts the window back to the root, as a tray does that wants it no more.
    void letGo(xcb_window_t window);

    /// Says to a window whose wish for a size was not granted that it has the size that it has (ICCCM 4.1.5).
    void refuseSize(xcb_window_t window);

    static constexpr quint16 square = 22;

    /// Where the tray's window is on the screen.
    static constexpr int left = 100;
    static constexpr int top = 50;
    static constexpr int width = 400;
    static constexpr int height = 32;

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const noexcept { xcb_disconnect(connection); }
    };

    [[nodiscard]] xcb_atom_t atom(const QByteArray& name) const;
    void takeEvents();
    void take(xcb_window_t window);

    Manner manner;
    std::unique_ptr<xcb_connection_t, Disconnect> connection;
    xcb_screen_t* screen = nullptr;
    xcb_window_t window = XCB_NONE;
    std::vector<xcb_window_t> windows;
    QObject context;
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace quillo::test
