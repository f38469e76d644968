#pragma once

#include "platform/tray/MenuEntry.h"

#include <QStringList>

namespace quillo::test {

/// A menu as lines of text to compare:
///
///     a line to read {red caption}
///     ---
///     [a button] Ctrl+R
///     a submenu >
///     > [an entry of it] on
[[nodiscard]] inline QStringList menuLines(const Menu& menu) {
    QStringList lines;
    for (const auto& entry : menu) {
        QStringList look;
        switch (entry.style) {
        case MenuEntry::Style::normal:
            break;
        case MenuEntry::Style::secondary:
            look += QStringLiteral("secondary");
            break;
        case MenuEntry::Style::red:
            look += QStringLiteral("red");
            break;
        case MenuEntry::Style::orange:
            look += QStringLiteral("orange");
            break;
        }
        if (entry.size == MenuEntry::TextSize::caption) {
            look += QStringLiteral("caption");
        }
        auto line = entry.text;
        switch (entry.kind) {
        case MenuEntry::Kind::text:
            break;
        case MenuEntry::Kind::button:
            line = u'[' + line + u']';
            break;
        case MenuEntry::Kind::divider:
            line = QStringLiteral("---");
            break;
        case MenuEntry::Kind::submenu:
            line += QStringLiteral(" >");
            break;
        }
        if (!look.isEmpty()) {
            line += QStringLiteral(" {") + look.join(u' ') + u'}';
        }
        if (!entry.shortcut.isEmpty()) {
            line += u' ' + entry.shortcut.toString(QKeySequence::PortableText);
        }
        if (entry.check != MenuEntry::CheckState::none) {
            line += entry.check == MenuEntry::CheckState::on ? QStringLiteral(" on") : QStringLiteral(" off");
        }
        lines += line;
        for (const auto& child : menuLines(entry.children)) {
            lines += QStringLiteral("> ") + child;
        }
    }
    return lines;
}

/// The first entry with this text, at any depth; null when there is none. It lives in `menu`.
[[nodiscard]] inline const MenuEntry* findEntry(const Menu& menu, const QString& text) {
    for (const auto& entry : menu) {
        if (entry.text == text) {
            return &entry;
        }
        if (const auto* below = findEntry(entry.children, text)) {
            return below;
        }
    }
    return nullptr;
}

} // namespace quillo::test
