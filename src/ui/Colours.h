#pragma once

#include <QColor>
#include <QPalette>

namespace quillo {

/// The colours with a meaning, in a shade that reads well (contrast of at least 4.5 to 1) on the palette's
/// window background, light or dark.
struct Colours {
    QColor red;       ///< charges, urgent conditions
    QColor orange;    ///< pending, conditions
    QColor green;     ///< payments and credits
    QColor secondary; ///< text of less importance
    QColor tertiary;  ///< text of least importance
    QColor prompt;    ///< what an empty field asks for, on the field's own background

    [[nodiscard]] static Colours on(const QPalette& palette);
};

} // namespace quillo
