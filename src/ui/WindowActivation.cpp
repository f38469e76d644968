#include "ui/WindowActivation.h"

#include "platform/desktop/ActivationToken.h"
#include "platform/desktop/X11.h"

#include <QGuiApplication>
#include <QWidget>

namespace quillo {

namespace {

/// Asks the window manager the way a pager does, in the user's name. Some grant nothing less to a program in
/// the background (Extended Window Manager Hints, "_NET_ACTIVE_WINDOW").
void activateAsPager(xcb_connection_t* connection, WId window) {
    constexpr std::uint32_t sourceIsPager = 2;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window);
    message.type = x11::atom(connection, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = sourceIsPager;
    message.data.data32[1] = XCB_CURRENT_TIME;
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_send_event(connection, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}

} // namespace

void bringToFront(QWidget& window) {
    const auto token = ActivationToken::take();
    if (!token.isEmpty() && QGuiApplication::platformName().startsWith(u"wayland")) {
        // Where Qt's Wayland plugin looks for it when it activates a window.
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    }
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 && x11->connection()) {
        activateAsPager(x11->connection(), window.winId());
    }
}

} // namespace quillo
