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

/// `program` as the only word of an Exec key's value, quoted as section "The Exec key" of the Desktop Entry
/// Specification asks for, whatever characters it contains.
[[nodiscard]] QString quotedForExec(const QString& program);

/// A value of type string with the escapes of the section "Possible value types".
[[nodiscard]] QString escapedString(const QString& value);

} // namespace quillo::autostart
