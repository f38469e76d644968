#pragma once

#include <QString>

namespace quillo {

/// The first `count` characters as a reader counts them (extended grapheme clusters, Unicode UAX #29): an
/// accented letter, a flag or a family emoji is one. The whole text when it has no more.
[[nodiscard]] QString firstUserCharacters(const QString& text, qsizetype count);

/// As much of the text as ends with a whole such character and has at most `units` units of UTF-16. A single
/// character that has more is cut between code points.
[[nodiscard]] QString wholeUserCharacters(const QString& text, qsizetype units);

} // namespace quillo
