#pragma once

#include "platform/desktop/X11.h"

#include <Qt>
#include <QtGlobal>

#include <vector>

#include <xcb/xcb.h>

namespace quillo::x11 {

/// What of the keyboard's mapping a key grab depends on.
struct KeyGrabs {
    std::vector<xcb_keycode_t> keys = {};
    /// Each state of the modifiers in which the key counts: those asked for, with any of the locks.
    std::vector<quint16> modifiers = {};

    [[nodiscard]] friend bool operator==(const KeyGrabs&, const KeyGrabs&) = default;
};

/// Reads the mapping from the server. `letter` is a Latin letter in lower case; its keys are those that type
/// it in the first of the user's layouts that has it, or the one in its place on an American keyboard when
/// none has.
[[nodiscard]] KeyGrabs keyGrabs(xcb_connection_t* connection, char letter, Qt::KeyboardModifiers modifiers);

} // namespace quillo::x11
