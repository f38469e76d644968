#include "platform/desktop/LaunchFeedback.h"

#include "platform/desktop/X11.h"

#include <algorithm>
#include <memory>
#include <tuple>

#include <xcb/xcb.h>

namespace quillo {

namespace {

/// The message with its terminator, its value quoted as the protocol asks for.
QByteArray removal(const QString& startupId) {
    auto id = startupId.toUtf8();
    id.replace('\\', "\\\\").replace('"', "\\\"").replace(' ', "\\ ");
    return "remove: ID=" + id + '\0';
}

} // namespace

void endLaunchFeedback(const QString& startupId, const QByteArray& display) {
    if (startupId.isEmpty()) {
        return;
    }
    const x11::Owned<xcb_connection_t> connection(
        xcb_connect(display.isEmpty() ? nullptr : display.constData(), nullptr));
    if (xcb_connection_has_error(connection.get())) {
        return;
    }
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    // Never shown; it tells the pieces of one message from those of another sender.
    const auto window = xcb_generate_id(connection.get());
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, root, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 8;
    event.window = window;
    event.type = x11::atom(connection.get(), "_NET_STARTUP_INFO_BEGIN");
    const auto next = x11::atom(connection.get(), "_NET_STARTUP_INFO");
    const auto message = removal(startupId);
    constexpr qsizetype pieceSize = sizeof event.data.data8;
    for (qsizetype sent = 0; sent < message.size(); sent += pieceSize) {
        const auto piece = message.mid(sent, pieceSize);
        std::ranges::fill(event.data.data8, quint8(0));
        std::ranges::copy(piece, reinterpret_cast<char*>(event.data.data8));
        xcb_send_event(connection.get(), 0, root, XCB_EVENT_MASK_PROPERTY_CHANGE,
                       reinterpret_cast<const char*>(&event));
        event.type = next;
    }
    // An answer to a last question says that the server has taken everything before the connection ends.
    std::ignore = x11::atom(connection.get(), "_NET_STARTUP_INFO");
}

} // namespace quillo
