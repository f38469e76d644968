#pragma once

#include <QKeySequence>
#include <QString>

#include <functional>
#include <vector>

namespace quillo {

/// One entry of a menu, as a plain value: what the program's views compute and every renderer (the panel's
/// menu over D-Bus, a QMenu, a menu bar) shows. It knows nothing of what the program is about.
///
/// All texts are plain: renderers give no meaning to "&", "_", markup or line breaks in them, and show
/// control characters as spaces.
struct MenuEntry {
    enum class Kind {
        text,    ///< a line to read; cannot be chosen
        button,  ///< runs `action`
        divider, ///< a separator; only `key` matters
        submenu, ///< opens `children`, also when there are none
    };
    enum class Style { normal, secondary, red, orange };
    enum class TextSize { body, caption };
    enum class CheckState {
        none, ///< no place for a check mark
        off,
        on,
    };

    Kind kind = Kind::text;

    /// What the entry is, among its siblings, across menus: an entry is the same one as before while its kind
    /// and the keys from the root to it stay. A panel then changes it in place and a click on what was shown
    /// before still counts, so a button whose action comes to mean something else needs another key. Equal
    /// keys of equal kind among siblings are told apart by their order.
    QString key = {};

    QString text = {};
    Style style = Style::normal;
    TextSize size = TextSize::body;
    CheckState check = CheckState::none;

    /// Empty for none. A panel shows it; only a renderer inside the program's own windows makes it work.
    QKeySequence shortcut = {};

    /// An explanation for a tool tip and for assistive technologies; empty for none.
    QString help = {};

    /// What choosing a button does. It runs on a turn of the event loop of its own and may outlive the menu
    /// it came with until then. Empty does nothing.
    std::function<void()> action = {};

    std::vector<MenuEntry> children = {};
};

using Menu = std::vector<MenuEntry>;

} // namespace quillo
