#include "platform/desktop/X11.h"

namespace quillo::x11 {

xcb_atom_t atom(xcb_connection_t* connection, const QByteArray& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<quint16>(name.size()), name.constData());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_NONE);
}

} // namespace quillo::x11
