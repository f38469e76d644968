#pragma once

#include <QColor>
#include <QComboBox>
#include <QFont>
#include <QLabel>
#include <QPalette>
#include <QWheelEvent>

namespace quillo {

/// For a text that explains another: smaller than the other's.
inline QFont captionFont(QFont font) {
    constexpr auto scale = 0.85;
    if (font.pointSizeF() > 0) {
        font.setPointSizeF(font.pointSizeF() * scale);
    } else {
        font.setPixelSize(qRound(font.pixelSize() * scale));
    }
    return font;
}

/// Gives the font digits of one width, so that amounts below each other, or one that changes, stand still.
/// Most fonts of desktops have such digits anyway; those with others offer the OpenType feature "tnum", which
/// Qt can ask for from 6.7 on.
inline void useFixedWidthDigits([[maybe_unused]] QFont& font) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
    font.setFeature("tnum", 1);
#endif
}

inline void colourText(QLabel* text, const QColor& colour) {
    auto palette = text->palette();
    palette.setColor(QPalette::WindowText, colour);
    text->setPalette(palette);
}

/// Leaves the wheel to what is around it: scrolling past it must not change it.
class Picker final : public QComboBox {
public:
    using QComboBox::QComboBox;

protected:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

} // namespace quillo
