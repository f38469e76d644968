#include "platform/tray/DockedItem.h"

#include "platform/desktop/X11.h"
#include "platform/tray/DockedWindow.h"

#include <QGuiApplication>
#include <QList>

#include <algorithm>
#include <array>
#include <utility>

namespace quillo {

namespace {

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

DockedItem::DockedItem(std::chrono::milliseconds patience)
    : connection(qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection()),
      root(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root),
      selection(x11::atom(connection, "_NET_SYSTEM_TRAY_S0")),
      manager(x11::atom(connection, "MANAGER")),
      colours(x11::atom(connection, "_NET_SYSTEM_TRAY_COLORS")) {
    waiting.setSingleShot(true);
    waiting.setInterval(patience);
    connect(&waiting, &QTimer::timeout, this, [this] { letGo(State::refused); });
    qApp->installNativeEventFilter(this);
    watch(connection, root, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    findTray();
}

DockedItem::~DockedItem() {
    qApp->removeNativeEventFilter(this);
}

void DockedItem::setFace(const ItemFace& nextFace, const PaintStyle& nextStyle) {
    face = nextFace;
    style = nextStyle;
    render();
}

void DockedItem::render() {
    if (window) {
        auto shown = style;
        shown.colour = foreground().value_or(style.colour);
        window->setFace(face, shown);
    }
}

void DockedItem::onTrayChanged() {
    letGo(State::noTray);
    if (owner != XCB_NONE) {
        dock();
    }
}

void DockedItem::dock() {
    setState(State::docking);
    std::function<void()> clearToParent;
    if (!showsThrough()) {
        clearToParent = [this] { clearWindow(); };
    }
    window = std::make_unique<DockedWindow>(std::move(clearToParent));
    connect(window.get(), &DockedWindow::pressed, this, &DockedItem::pressed);
    connect(window.get(), &DockedWindow::pointerRested, this, &DockedItem::pointerRested);
    render();
    window->create();
    askTray();
    waiting.start();
}

void DockedItem::onEmbedded(xcb_window_t moved) {
    if (!window || window->winId() != moved) {
        return;
    }
    waiting.stop();
    // Not before it is in the tray: it would stand on the desktop as a window of its own.
    window->show();
    setState(State::docked);
}

// On a later turn: until then the toolkit still believes in the window.
void DockedItem::onReleased(xcb_window_t released) {
    const auto take = [this, released] {
        if (window && window->winId() == released) {
            letGo(State::refused);
        }
    };
    QMetaObject::invokeMethod(this, take, Qt::QueuedConnection);
}

void DockedItem::letGo(State next) {
    waiting.stop();
    if (window) {
        window.reset();
        xcb_flush(connection); // by itself the toolkit may wait until something happens
    }
    setState(next);
}

void DockedItem::setState(State next) {
    if (std::exchange(present, next) != next) {
        Q_EMIT stateChanged();
    }
}

// Under a grab of the server, so that the owner cannot go between being found and being watched.
void DockedItem::findTray() {
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
        QMetaObject::invokeMethod(this, &DockedItem::onTrayChanged, Qt::QueuedConnection);
    }
}

bool DockedItem::showsThrough() const {
    const auto visual = property(x11::atom(connection, "_NET_SYSTEM_TRAY_VISUAL"), XCB_ATOM_VISUALID, 1);
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

std::optional<QColor> DockedItem::foreground() const {
    // Red, green and blue of the foreground, of 16 bits each; those of warnings follow.
    const auto parts = property(colours, XCB_ATOM_CARDINAL, 3);
    if (!parts) {
        return std::nullopt;
    }
    const auto part = [&parts](qsizetype index) { return static_cast<quint16>(parts->at(index)); };
    return QColor::fromRgba64(part(0), part(1), part(2));
}

std::optional<QList<quint32>> DockedItem::property(xcb_atom_t name, xcb_atom_t type, quint32 count) const {
    const x11::Owned<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, owner, name, type, 0, count), nullptr));
    constexpr int bits = 32;
    if (!reply || reply->format != bits || reply->value_len < count) {
        return std::nullopt;
    }
    const auto* values = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
    return QList<quint32>(values, values + count);
}

void DockedItem::askTray() {
    const auto id = static_cast<xcb_window_t>(window->winId());
    constexpr quint32 version = 0;
    constexpr quint32 mapped = 1;
    const std::array info{version, mapped};
    const auto infoName = x11::atom(connection, "_XEMBED_INFO");
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, infoName, infoName, 32, info.size(),
                        info.data());
    constexpr quint32 requestDock = 0;
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = owner;
    event.type = x11::atom(connection, "_NET_SYSTEM_TRAY_OPCODE");
    event.data.data32[0] = XCB_CURRENT_TIME;
    event.data.data32[1] = requestDock;
    event.data.data32[2] = id;
    xcb_send_event(connection, 0, owner, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
    xcb_flush(connection);
}

void DockedItem::clearWindow() {
    const auto id = static_cast<xcb_window_t>(window->winId());
    constexpr quint32 parentRelative = XCB_BACK_PIXMAP_PARENT_RELATIVE;
    xcb_change_window_attributes(connection, id, XCB_CW_BACK_PIXMAP, &parentRelative);
    xcb_clear_area(connection, 0, id, 0, 0, 0, 0);
    xcb_flush(connection);
}

bool DockedItem::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    constexpr int sentByClient = 0x80;
    switch (event->response_type & ~sentByClient) {
    case XCB_CLIENT_MESSAGE: {
        const auto& told = *reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (told.type == manager && told.data.data32[1] == selection) {
            findTray();
        }
        break;
    }
    case XCB_PROPERTY_NOTIFY: {
        const auto& property = *reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (property.window == owner && property.atom == colours) {
            QMetaObject::invokeMethod(this, &DockedItem::render, Qt::QueuedConnection);
        }
        break;
    }
    case XCB_REPARENT_NOTIFY: {
        const auto& moved = *reinterpret_cast<const xcb_reparent_notify_event_t*>(event);
        if (moved.parent != root) {
            onEmbedded(moved.window);
        } else {
            onReleased(moved.window);
        }
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto gone = reinterpret_cast<const xcb_destroy_notify_event_t*>(event)->window;
        if (gone == owner) {
            findTray();
        } else {
            onReleased(gone);
        }
        break;
    }
    default:
        break;
    }
    return false;
}

} // namespace quillo
