#include "ui/TextColor.h"

#include <QFont>
#include <QPalette>

#include <algorithm>

namespace quillo {

namespace {

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Active, QPalette::Window).lightnessF() < 0.5F;
}

/// Between text and background, nearer to the text.
QColor dimmed(const QColor& text, const QColor& background) {
    constexpr auto share = 0.7F;
    const auto mix = [](float front, float back) { return share * front + (1 - share) * back; };
    return QColor::fromRgbF(mix(text.redF(), background.redF()), mix(text.greenF(), background.greenF()),
                            mix(text.blueF(), background.blueF()));
}

} // namespace

QColor textColor(MenuEntry::Style style, const QPalette& palette) {
    switch (style) {
    case MenuEntry::Style::normal:
        break;
    case MenuEntry::Style::secondary:
        return dimmed(palette.color(QPalette::Active, QPalette::WindowText),
                      palette.color(QPalette::Active, QPalette::Window));
    case MenuEntry::Style::red:
        return isDark(palette) ? QColor(0xff, 0x8f, 0x87) : QColor(0xb3, 0x1b, 0x25);
    case MenuEntry::Style::orange:
        return isDark(palette) ? QColor(0xff, 0xb7, 0x4d) : QColor(0x96, 0x44, 0x00);
    }
    return palette.color(QPalette::Active, QPalette::WindowText);
}

QFont captionFont(const QFont& body) {
    constexpr auto scale = 0.85;
    auto caption = body;
    if (body.pointSizeF() > 0) {
        caption.setPointSizeF(body.pointSizeF() * scale);
    } else {
        caption.setPixelSize(std::max(1, qRound(body.pixelSize() * scale)));
    }
    return caption;
}

} // namespace quillo
