#pragma once

#include "platform/hotkey/HotKeyService.h"

#include <QByteArray>

namespace quillo {

/// Keys by a passive grab on the root window (X Window System Protocol, GrabKey).
///
/// Each registration has a connection to the server of its own, so that a grab that another program holds
/// already can neither disturb Qt's nor be missed, and wakes the program only for its key and for a change of
/// the keyboard's mapping, after which it grabs anew.
class X11HotKeys final : public HotKeyService {
public:
    /// Keys of `display`, in the form of the variable DISPLAY, which counts when it is empty.
    explicit X11HotKeys(QByteArray display = {});

    /// Null when there is no server, no such key, or another program has the key. Takes a few exchanges with
    /// the server.
    [[nodiscard]] std::unique_ptr<Registration> registerHotKey(const HotKeyChord& chord,
                                                               HotKeyIdentifier identifier) override;

private:
    QByteArray display;
};

} // namespace quillo
