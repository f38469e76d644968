#include "platform/tray/PaintedIcon.h"

#include "platform/symbols/IconFolder.h"
#include "platform/symbols/Symbols.h"

#include <QFontInfo>
#include <QFontMetricsF>
#include <QPainter>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cmath>

namespace quillo {

namespace {

constexpr int symbolSize = 16;
constexpr int gap = 4;
constexpr qreal widestText = 400;
// Panels' usual sizes, and two and three times the first.
constexpr std::array squareSizes{16, 22, 24, 32, 44, 48, 66};

/// The font by its size in logical pixels, small enough for a row.
QFont rowFont(const QFont& font) {
    auto result = font;
    const int pixels = QFontInfo(font).pixelSize();
    result.setPixelSize(std::clamp(pixels, 1, paintedHeight));
    while (result.pixelSize() > 1 && QFontMetricsF(result).height() > paintedHeight + 1) {
        result.setPixelSize(result.pixelSize() - 1);
    }
    return result;
}

QString shownText(const QString& text, const QFont& font) {
    return QFontMetricsF(font).elidedText(text, Qt::ElideRight, widestText);
}

qreal rowWidth(const QString& text, const QFont& font) {
    return text.isEmpty() ? symbolSize : symbolSize + gap + QFontMetricsF(font).horizontalAdvance(text);
}

/// Pixels of the device for a logical one.
qreal pixelRatio(const QPainter& painter) {
    return painter.deviceTransform().m11();
}

/// To the device's own pixels, so that edges are sharp.
qreal snapped(qreal value, const QPainter& painter) {
    const qreal ratio = pixelRatio(painter);
    return std::round(value * ratio) / ratio;
}

void paintSymbol(QPainter& painter, const QPointF& corner, int size, const QString& symbol,
                 const QColor& colour) {
    const qreal ratio = pixelRatio(painter);
    if (size < 1) {
        return; // a window that a tray has made as small as can be
    }
    auto image = symbolImage(carriedIcon(symbol), static_cast<int>(std::lround(size * ratio)), colour);
    image.setDevicePixelRatio(ratio);
    painter.drawImage(QPointF(snapped(corner.x(), painter), snapped(corner.y(), painter)), image);
}

/// The largest size, in whole pixels up to `limit`, at which the text's own outline fits into the square.
int fittingSize(const QString& text, QFont font, qreal side, int limit) {
    constexpr int sample = 100; // measured once, as a font of each size costs some time
    font.setPixelSize(sample);
    const auto bounds = QFontMetricsF(font).tightBoundingRect(text);
    const qreal extent = std::max({bounds.width(), bounds.height(), 1.0});
    int pixels = std::clamp(static_cast<int>(side * sample / extent), 1, limit);
    // Hinting makes small sizes differ from the sample.
    const auto fits = [&] {
        font.setPixelSize(pixels);
        const auto real = QFontMetricsF(font).tightBoundingRect(text);
        return real.width() <= side && real.height() <= side;
    };
    while (pixels > 1 && !fits()) {
        --pixels;
    }
    return pixels;
}

/// The font for a text alone in a square: strong, and narrower where that makes it taller.
QFont squareFont(const QString& text, const QFont& wanted, qreal side) {
    constexpr std::array stretches{100, 75, 60};
    constexpr qreal tallest = 0.7;
    auto best = wanted;
    best.setWeight(QFont::DemiBold);
    best.setPixelSize(1);
    for (const int stretch : stretches) {
        auto font = best;
        font.setStretch(stretch);
        const int pixels = fittingSize(text, font, side, std::max(1, static_cast<int>(side * tallest)));
        if (pixels > best.pixelSize()) {
            font.setPixelSize(pixels);
            best = font;
        }
    }
    return best;
}

/// What `paint` makes of a transparent picture of that size in logical pixels.
/// https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/Icons/: ARGB32 in network byte order.
dbus::Pixmap picture(const QSize& size, qreal ratio, auto paint) {
    QImage image(size * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(painter, QRectF({0, 0}, size));
    painter.end();
    image.convertTo(QImage::Format_ARGB32);
    QByteArray bytes(image.sizeInBytes(), Qt::Uninitialized);
    qToBigEndian<quint32>(image.constBits(), image.width() * static_cast<qsizetype>(image.height()),
                          bytes.data());
    return {image.width(), image.height(), bytes};
}

} // namespace

QSize wideSize(const ItemFace& face, const QFont& font) {
    const auto used = rowFont(font);
    return {static_cast<int>(std::ceil(rowWidth(shownText(face.text, used), used))), paintedHeight};
}

void paintWide(QPainter& painter, const QRectF& area, const ItemFace& face, const PaintStyle& style) {
    const auto font = rowFont(style.font);
    const auto text = shownText(face.text, font);
    const qreal left = area.left() + std::max(0.0, (area.width() - std::ceil(rowWidth(text, font))) / 2);
    paintSymbol(painter, {left, area.center().y() - symbolSize / 2.0}, symbolSize, face.symbol, style.colour);
    painter.setFont(font);
    painter.setPen(style.colour);
    // Figures and capitals stand in the middle; what hangs below the line does not count.
    const qreal baseline = area.center().y() + QFontMetricsF(font).capHeight() / 2;
    painter.drawText(QPointF(snapped(left, painter) + symbolSize + gap, snapped(baseline, painter)), text);
}

void paintSquare(QPainter& painter, const QRectF& area, const ItemFace& face, const PaintStyle& style) {
    const qreal side = std::min(area.width(), area.height());
    if (face.shortText.isEmpty()) {
        // Symbols are drawn for 16 pixels; a larger square leaves a margin, as other programs' icons do.
        const int size = static_cast<int>(side <= symbolSize ? side : side * 3 / 4);
        paintSymbol(painter, area.center() - QPointF(size, size) / 2, size, face.symbol, style.colour);
        return;
    }
    const auto font = squareFont(face.shortText, style.font, side);
    const auto bounds = QFontMetricsF(font).tightBoundingRect(face.shortText);
    painter.setFont(font);
    painter.setPen(style.colour);
    const QPointF origin = area.center() - bounds.center();
    painter.drawText(QPointF(origin.x(), snapped(origin.y(), painter)), face.shortText);
}

dbus::Pixmaps wideIcons(const ItemFace& face, const PaintStyle& style, int height, int scales) {
    dbus::Pixmaps pixmaps;
    for (int scale = 1; scale <= scales; ++scale) {
        const qreal ratio = scale * height / static_cast<qreal>(paintedHeight);
        pixmaps += picture(wideSize(face, style.font), ratio, [&](QPainter& painter, const QRectF& area) {
            paintWide(painter, area, face, style);
        });
    }
    return pixmaps;
}

dbus::Pixmaps squareIcons(const ItemFace& face, const PaintStyle& style) {
    dbus::Pixmaps pixmaps;
    for (const int pixels : squareSizes) {
        pixmaps += picture({pixels, pixels}, 1, [&](QPainter& painter, const QRectF& area) {
            paintSquare(painter, area, face, style);
        });
    }
    return pixmaps;
}

} // namespace quillo
