#include "ScriptedTray.h"

#include "platform/desktop/X11.h"

#include <array>
#include <cstring>

namespace quillo::test {

using x11::Owned;

ScriptedTray::ScriptedTray(const QByteArray& display, Manner how)
    : manner(how), connection(xcb_connect(display.constData(), nullptr)) {
    screen = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    window = xcb_generate_id(connection.get());
    const quint32 mask =
        manner == Manner::keepsSquares ? XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT : XCB_EVENT_MASK_NO_EVENT;
    const std::array values{screen->white_pixel, mask};
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, screen->root, left, top, width, height,
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values.data());
    xcb_map_window(connection.get(), window);
    notifier =
        std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection.get()), QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, &context, [this] { takeEvents(); });
}

ScriptedTray::~ScriptedTray() {
    notifier.reset();
}

xcb_atom_t ScriptedTray::atom(const QByteArray& name) const {
    return x11::atom(connection.get(), name);
}

void ScriptedTray::offerTransparency() {
    constexpr int withAlpha = 32;
    for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem > 0; xcb_depth_next(&depth)) {
        if (depth.data->depth == withAlpha) {
            const auto visual = xcb_depth_visuals(depth.data)->visual_id;
            xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window,
                                atom("_NET_SYSTEM_TRAY_VISUAL"), XCB_ATOM_VISUALID, 32, 1, &visual);
        }
    }
}

void ScriptedTray::setForeground(const QColor& colour) {
    const auto rgb = colour.rgba64();
    const std::array<quint32, 12> parts{rgb.red(), rgb.green(), rgb.blue()};
    xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window, atom("_NET_SYSTEM_TRAY_COLORS"),
                        XCB_ATOM_CARDINAL, 32, parts.size(), parts.data());
    xcb_flush(connection.get());
}

void ScriptedTray::start() {
    const auto selection = atom("_NET_SYSTEM_TRAY_S0");
    xcb_set_selection_owner(connection.get(), window, selection, XCB_CURRENT_TIME);
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = screen->root;
    event.type = atom("MANAGER");
    event.data.data32[1] = selection;
    event.data.data32[2] = window;
    xcb_send_event(connection.get(), 0, screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(connection.get());
}

void ScriptedTray::crash() {
    notifier.reset();
    connection.reset(xcb_connect(":none", nullptr));
}

void ScriptedTray::takeEvents() {
    while (connection && notifier) {
        const Owned<xcb_generic_event_t> event(xcb_poll_for_event(connection.get()));
        if (!event) {
            return;
        }
        constexpr int sentByClient = 0x80;
        if ((event->response_type & ~sentByClient) == XCB_CLIENT_MESSAGE) {
            take(reinterpret_cast<const xcb_client_message_event_t&>(*event).data.data32[2]);
        }
    }
}

void ScriptedTray::take(xcb_window_t wanted) {
    windows.push_back(wanted);
    switch (manner) {
    case Manner::keepsSquares:
        resize(wanted, {square, square});
        [[fallthrough]];
    case Manner::takes:
        xcb_change_save_set(connection.get(), XCB_SET_MODE_INSERT, wanted);
        xcb_reparent_window(connection.get(), wanted, window, 0, 0);
        xcb_map_window(connection.get(), wanted);
        xcb_flush(connection.get());
        break;
    case Manner::ignores:
        break;
    case Manner::diesWhenAsked:
        crash();
        break;
    }
}

void ScriptedTray::refuseSize(xcb_window_t wanted) {
    xcb_configure_notify_event_t answer{};
    answer.response_type = XCB_CONFIGURE_NOTIFY;
    answer.event = wanted;
    answer.window = wanted;
    answer.width = square;
    answer.height = square;
    xcb_send_event(connection.get(), 0, wanted, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&answer));
    xcb_flush(connection.get());
}

int ScriptedTray::count() {
    const Owned<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection.get(), xcb_query_tree(connection.get(), window), nullptr));
    takeEvents(); // some may have been read together with the answer, of which the notifier knows nothing
    return tree ? xcb_query_tree_children_length(tree.get()) : 0;
}

std::optional<ScriptedTray::Look> ScriptedTray::look(xcb_window_t wanted) {
    const Owned<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection.get(), xcb_get_geometry(connection.get(), wanted), nullptr));
    const Owned<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
        connection.get(), xcb_get_window_attributes(connection.get(), wanted), nullptr));
    takeEvents();
    if (!geometry || !attributes) {
        return std::nullopt;
    }
    return Look{QSize(geometry->width, geometry->height), geometry->depth,
                attributes->map_state == XCB_MAP_STATE_VIEWABLE};
}

QImage ScriptedTray::picture(xcb_window_t wanted) {
    const auto shown = look(wanted);
    if (!shown || !shown->visible) {
        return {};
    }
    const auto size = shown->size.boundedTo({width, height});
    const Owned<xcb_get_image_reply_t> reply(xcb_get_image_reply(
        connection.get(),
        xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, wanted, 0, 0,
                      static_cast<quint16>(size.width()), static_cast<quint16>(size.height()), ~0U),
        nullptr));
    if (!reply) {
        return {};
    }
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    std::memcpy(image.bits(), xcb_get_image_data(reply.get()), static_cast<std::size_t>(image.sizeInBytes()));
    return image;
}

void ScriptedTray::resize(xcb_window_t wanted, const QSize& size) {
    const std::array values{static_cast<quint32>(size.width()), static_cast<quint32>(size.height())};
    xcb_configure_window(connection.get(), wanted, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                         values.data());
    xcb_flush(connection.get());
}

void ScriptedTray::letGo(xcb_window_t wanted) {
    xcb_unmap_window(connection.get(), wanted);
    xcb_reparent_window(connection.get(), wanted, screen->root, 0, 0);
    xcb_flush(connection.get());
}

} // namespace quillo::test
