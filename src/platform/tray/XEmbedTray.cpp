#include "platform/tray/XEmbedTray.h"

#include "platform/desktop/X11.h"

#include <QGuiApplication>
#include <QList>

#include <algorithm>
#include <array>
#include <utility>

namespace quillo {

namespace {

xcb_connection_t* toolkitConnection() {
    return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

/// Watches a window beside what the toolkit watches it for already.
void watch(xcb_connection_t* connection, xcb_window_t window, quint32 events) {
    const x11::Owned<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, window), nullptr));
    if (attributes) {
        const quint32 mask = attributes->your_event_mask | events;
        xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &mask);
    }
}

} // namespace

XEmbedTray::XEmbedTray()
    : connection(toolkitConnection()),
      root(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root),
      selection(atom("_NET_SYSTEM_TRAY_S0")),
      manager(atom("MANAGER")),
      colours(atom("_NET_SYSTEM_TRAY_COLORS")) {
    qApp->installNativeEventFilter(this);
    watch(connection, root, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    look();
}

XEmbedTray::~XEmbedTray() {
    qApp->removeNativeEventFilter(this);
}

xcb_atom_t XEmbedTray::atom(const char* name) const {
    return x11::atom(connection, name);
}

// Under a grab of the server, so that the owner cannot go between being found and being watched.
void XEmbedTray::look() {
    xcb_grab_server(connection);
    const x11::Owned<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr));
    const auto before = std::exchange(owner, reply ? reply->owner : static_cast<xcb_window_t>(XCB_NONE));
    if (owner != XCB_NONE) {
        watch(connection, owner, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
    }
    xcb_ungrab_server(connection);
    xcb_flush(connection);
    if (owner != before) {
        QMetaObject::invokeMethod(this, &XEmbedTray::changed, Qt::QueuedConnection);
    }
}

bool XEmbedTray::showsThrough() const {
    const auto visual = property(atom("_NET_SYSTEM_TRAY_VISUAL"), XCB_ATOM_VISUALID, 1);
    if (!visual) {
        return false;
    }
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem > 0; xcb_depth_next(&depth)) {
        const auto* first = xcb_depth_visuals(depth.data);
        const auto* last = first + xcb_depth_visuals_length(depth.data);
        if (std::any_of(first, last, [&](const auto& each) { return each.visual_id == visual->first(); })) {
            constexpr int withAlpha = 32;
            return depth.data->depth == withAlpha;
        }
    }
    return false;
}

std::optional<QColor> XEmbedTray::foreground() const {
    // Red, green and blue of the foreground, of 16 bits each; those of warnings follow.
    const auto parts = property(colours, XCB_ATOM_CARDINAL, 3);
    if (!parts) {
        return std::nullopt;
    }
    const auto part = [&parts](qsizetype index) { return static_cast<quint16>(parts->at(index)); };
    return QColor::fromRgba64(part(0), part(1), part(2));
}

std::optional<QList<quint32>> XEmbedTray::property(xcb_atom_t name, xcb_atom_t type, quint32 count) const {
    const x11::Owned<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, owner, name, type, 0, count), nullptr));
    constexpr int bits = 32;
    if (!reply || reply->format != bits || reply->value_len < count) {
        return std::nullopt;
    }
    const auto* values = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
    return QList<quint32>(values, values + count);
}

void XEmbedTray::dock(xcb_window_t window) {
    constexpr quint32 version = 0;
    constexpr quint32 mapped = 1;
    const std::array info{version, mapped};
    const auto infoName = atom("_XEMBED_INFO");
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, infoName, infoName, 32, info.size(),
                        info.data());
    constexpr quint32 requestDock = 0;
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = owner;
    event.type = atom("_NET_SYSTEM_TRAY_OPCODE");
    event.data.data32[0] = XCB_CURRENT_TIME;
    event.data.data32[1] = requestDock;
    event.data.data32[2] = window;
    xcb_send_event(connection, 0, owner, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
    xcb_flush(connection);
}

void XEmbedTray::clearToParent(xcb_window_t window) {
    constexpr quint32 parentRelative = XCB_BACK_PIXMAP_PARENT_RELATIVE;
    xcb_change_window_attributes(connection, window, XCB_CW_BACK_PIXMAP, &parentRelative);
    xcb_clear_area(connection, 0, window, 0, 0, 0, 0);
    xcb_flush(connection);
}

void XEmbedTray::letGo(xcb_window_t window) {
    QMetaObject::invokeMethod(
        this, [this, window] { Q_EMIT released(window); }, Qt::QueuedConnection);
}

bool XEmbedTray::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    constexpr int sentByClient = 0x80;
    switch (event->response_type & ~sentByClient) {
    case XCB_CLIENT_MESSAGE: {
        const auto& told = *reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (told.type == manager && told.data.data32[1] == selection) {
            look();
        }
        break;
    }
    case XCB_PROPERTY_NOTIFY: {
        const auto& property = *reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (property.window == owner && property.atom == colours) {
            QMetaObject::invokeMethod(this, &XEmbedTray::foregroundChanged, Qt::QueuedConnection);
        }
        break;
    }
    case XCB_REPARENT_NOTIFY: {
        const auto& moved = *reinterpret_cast<const xcb_reparent_notify_event_t*>(event);
        if (moved.parent != root) {
            Q_EMIT embedded(moved.window);
        } else {
            letGo(moved.window);
        }
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto window = reinterpret_cast<const xcb_destroy_notify_event_t*>(event)->window;
        if (window == owner) {
            look();
        } else {
            letGo(window);
        }
        break;
    }
    default:
        break;
    }
    return false;
}

} // namespace quillo
