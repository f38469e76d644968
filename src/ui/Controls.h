#pragma once

#include <QColor>
#include <QComboBox>
#include <QLabel>
#include <QPalette>
#include <QWheelEvent>

namespace quillo {

/// Of a text that explains another: its size as a part of the other's.
constexpr double captionScale = 0.85;

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
