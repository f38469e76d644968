#pragma once

#include "platform/tray/MenuEntry.h"

#include <QColor>

class QPalette;
class QFont;

namespace quillo {

/// The colour of a text of that style in one of the program's own windows and menus: legible on the palette's
/// background, light or dark (Web Content Accessibility Guidelines 2.1, 1.4.3: contrast of at least 4.5).
[[nodiscard]] QColor textColor(MenuEntry::Style style, const QPalette& palette);

/// The font for remarks beside texts in `body`, a little smaller.
[[nodiscard]] QFont captionFont(const QFont& body);

} // namespace quillo
