#pragma once

#include <QByteArray>

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace quillo::x11 {

struct Free {
    void operator()(void* reply) const noexcept { std::free(reply); }
};
/// A reply, event or error of xcb.
template <typename T>
using Owned = std::unique_ptr<T, Free>;

/// Asks the server for the atom of that name and waits for its answer; XCB_NONE when the connection is gone.
[[nodiscard]] xcb_atom_t atom(xcb_connection_t* connection, const QByteArray& name);

} // namespace quillo::x11
