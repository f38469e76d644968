#pragma once

#include <QColor>
#include <QImage>
#include <QString>

namespace quillo {

/// A symbol's file painted in one colour, `pixels` wide and high; null when there is no such file.
[[nodiscard]] QImage symbolImage(const QString& file, int pixels, const QColor& colour);

} // namespace quillo
