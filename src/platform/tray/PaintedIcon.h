#pragma once

#include "platform/tray/DBusTypes.h"

#include <QColor>
#include <QFont>
#include <QImage>
#include <QRectF>
#include <QSize>
#include <QString>

class QPainter;

/// The item as a picture, for panels that show no text of programs.
///
/// A picture of scale 1 is `paintedHeight` pixels high, as panels' icons are; the panel makes it fit.
namespace quillo {

/// What the item shows.
struct ItemFace {
    /// A symbol by name, such as "exclamationmark.circle".
    QString symbol = {};
    /// Painted, it is cut with "…" where it would be wider than any panel has room for.
    QString text = {};
    /// What stands alone in a square; the symbol does when it is empty.
    QString shortText = {};

    [[nodiscard]] friend bool operator==(const ItemFace&, const ItemFace&) = default;
};

struct PaintStyle {
    QFont font = {};
    QColor colour = Qt::black;

    [[nodiscard]] friend bool operator==(const PaintStyle&, const PaintStyle&) = default;
};

inline constexpr int paintedHeight = 22;

/// The room that symbol and text take in one row, in logical pixels.
[[nodiscard]] QSize wideSize(const ItemFace& face, const QFont& font);

/// Paints the symbol and, right of it, the text as one row in the middle of `area` (logical pixels).
void paintWide(QPainter& painter, const QRectF& area, const ItemFace& face, const PaintStyle& style);

/// Paints the short text as large as it fits into the square `area`, or the symbol.
void paintSquare(QPainter& painter, const QRectF& area, const ItemFace& face, const PaintStyle& style);

/// Symbol and text in one row, `height` pixels high and up to `scales` times that.
[[nodiscard]] dbus::Pixmaps wideIcons(const ItemFace& face, const PaintStyle& style,
                                      int height = paintedHeight, int scales = 3);

/// The square in every size that panels use.
[[nodiscard]] dbus::Pixmaps squareIcons(const ItemFace& face, const PaintStyle& style);

} // namespace quillo
