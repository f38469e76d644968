#pragma once

#include <QByteArray>
#include <QString>

/// The text of autostart entries (Desktop Entry Specification 1.5).
namespace quillo::autostart {

enum class Meaning {
    /// Starters run its program.
    starts,
    /// Somebody switched it off: Hidden, one of the keys that desktops' settings write, or an entry that
    /// leaves
    /// this desktop out (the variable XDG_CURRENT_DESKTOP).
    switchedOff,
    /// Not a desktop entry, or one without a program that exists.
    nonsense,
};

[[nodiscard]] Meaning meaning(const QByteArray& text);

/// An entry that starts `program`, whatever characters its path contains.
[[nodiscard]] QByteArray entry(const QString& applicationId, const QString& program);

} // namespace quillo::autostart
