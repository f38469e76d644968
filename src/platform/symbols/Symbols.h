#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QPixmap>
#include <QString>

namespace quillo {

/// A symbol's file painted in one colour, `pixels` wide and high; null when there is no such file.
[[nodiscard]] QImage symbolImage(const QString& file, int pixels, const QColor& colour);

/// One of the program's symbols, such as "arrow.clockwise", in one colour, `size` logical pixels wide and
/// high.
[[nodiscard]] QPixmap symbolPixmap(const QString& name, int size, const QColor& colour,
                                   qreal devicePixelRatio);

/// The same as an icon for a button, dimmed where the button is disabled.
[[nodiscard]] QIcon symbolIcon(const QString& name, int size, const QColor& colour, qreal devicePixelRatio);

/// The program's own icon, in colour, for title bars of desktops that look at windows and not at desktop
/// files.
[[nodiscard]] QIcon applicationIcon();

} // namespace quillo
