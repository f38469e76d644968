#pragma once

#include <QByteArray>

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace quillo::x11 {

struct Free {
    void operator()(void* reply) const noexcept { std::free(reply); }
    void operator()(xcb_connection_t* connection) const noexcept { xcb_disconnect(connection); }
};
/// A connection of our own to the server, or a reply, event or error of xcb.
template <typename T>
using Owned = std::unique_ptr<T, Free>;

/// Asks the server for the atom of that name and waits for its answer; XCB_NONE when the connection is gone.
[[nodiscard]] inline xcb_atom_t atom(xcb_connection_t* connection, const QByteArray& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<quint16>(name.size()), name.constData());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_NONE);
}

} // namespace quillo::x11
