#pragma once

#include <QFont>

namespace quillo {

/// Gives the font digits of one width, so that amounts below each other, or one that changes, stand still.
/// Most fonts of desktops have such digits anyway; those with others offer the OpenType feature "tnum", which
/// Qt can ask for from 6.7 on.
inline void useFixedWidthDigits([[maybe_unused]] QFont& font) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
    font.setFeature("tnum", 1);
#endif
}

} // namespace quillo
