#pragma once

#include <QString>

namespace quillo {

/// The first `count` characters as a reader counts them (extended grapheme clusters, Unicode UAX #29): an
/// accented letter, a flag or a family emoji is one. The whole text when it has no more.
[[nodiscard]] QString firstUserCharacters(const QString& text, qsizetype count);

} // namespace quillo
