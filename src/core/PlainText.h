#pragma once

#include <QString>

namespace quillo {

/// The text as one harmless line, fit for D-Bus strings and panels of any make: control characters and line
/// breaks become spaces, controls of the writing direction (which could turn around what follows) vanish,
/// halves of surrogate pairs become U+FFFD, and a text of more than `longestLine` units of UTF-16 ends in "…"
/// after a whole user-perceived character. Texts without any of this come back as they are.
[[nodiscard]] QString plainLine(const QString& text);

/// More than any screen is wide, and little enough that no panel fails on the width.
inline constexpr qsizetype longestLine = 500;

/// `plainLine` for a tool tip, where some panels read markup and others show it: the characters that begin
/// markup are replaced with look-alikes, which mean the same to both.
[[nodiscard]] QString toolTipLine(const QString& text);

} // namespace quillo
