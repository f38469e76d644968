#include "ui/MenuRenderer.h"

#include "core/PlainText.h"
#include "ui/Colours.h"
#include "ui/Controls.h"

#include <QCoreApplication>
#include <QEvent>
#include <QStyleOptionMenuItem>
#include <QTextDocument>

#include <algorithm>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

/// In widths of an average character: room for every text of the program's own and for a line of the ledger.
constexpr int widestLine = 110;

/// Plain text as a tool tip, where rich text is told by its looks, and only rich text is broken into lines.
QString plainToolTip(const QString& text) {
    return text.isEmpty() ? QString() : Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal);
}

QColor textColour(MenuEntry::Style style, const QPalette& palette) {
    switch (style) {
    case MenuEntry::Style::normal:
        break;
    case MenuEntry::Style::secondary:
        return Colours::on(palette).secondary;
    case MenuEntry::Style::red:
        return Colours::on(palette).red;
    case MenuEntry::Style::orange:
        return Colours::on(palette).orange;
    }
    return palette.color(QPalette::WindowText);
}

} // namespace

MenuRenderer::MenuRenderer(QWidget* parent) : QMenu(parent) {
    setToolTipsVisible(true);
}

void MenuRenderer::setMenu(Menu menu) {
    auto before = std::exchange(rows, {});
    rows.reserve(menu.size());
    for (auto& entry : menu) {
        auto row = takeRow(before, entry);
        if (row.submenu) {
            row.submenu->setMenu(std::exchange(entry.children, {}));
        }
        row.entry = std::move(entry);
        rows.push_back(std::move(row));
        apply(rows.back());
    }
    for (const auto& row : before) {
        if (row.action) {
            remove(row);
        }
    }
    putInOrder();
    placeShortcuts();
}

/// The row that shows the same entry already, taken out of `before`, or a new one.
MenuRenderer::Row MenuRenderer::takeRow(std::vector<Row>& before, const MenuEntry& entry) {
    const auto same = std::find_if(before.begin(), before.end(), [&entry](const Row& row) {
        return row.action && row.entry.kind == entry.kind && row.entry.key == entry.key;
    });
    if (same != before.end()) {
        return std::exchange(*same, {});
    }
    Row row;
    if (entry.kind == MenuEntry::Kind::submenu) {
        row.submenu = new MenuRenderer(this);
        row.action = row.submenu->menuAction();
    } else {
        row.action = new QAction(this);
        row.action->setAutoRepeat(false); // a shortcut that is held asks once
        connect(row.action, &QAction::triggered, this, [this, action = row.action] { choose(action); });
    }
    return row;
}

/// Nothing is deleted at once: the menu may be in the middle of showing or choosing it.
void MenuRenderer::remove(const Row& row) {
    if (activeAction() == row.action) {
        setActiveAction(nullptr); // closes its submenu, and nothing else
    }
    removeAction(row.action);
    if (row.submenu) {
        row.submenu->deleteLater();
    } else {
        row.action->deleteLater();
    }
}

/// Setting what an action has already changes nothing on the screen.
void MenuRenderer::apply(const Row& row) const {
    const auto& [entry, action, submenu] = row;
    action->setSeparator(entry.kind == MenuEntry::Kind::divider);
    if (action->isSeparator()) {
        return;
    }
    const auto entryFont = entry.size == MenuEntry::TextSize::caption ? captionFont(font()) : font();
    const QFontMetrics metrics(entryFont);
    const auto whole = plainLine(entry.text);
    auto line = metrics.elidedText(whole, Qt::ElideRight, widestLine * metrics.averageCharWidth());
    const auto isCut = line != whole;
    action->setText(line.replace(u'&', u"&&"_s));
    action->setFont(entryFont);
    action->setEnabled(entry.kind != MenuEntry::Kind::text);
    action->setCheckable(entry.check != MenuEntry::CheckState::none);
    action->setChecked(entry.check == MenuEntry::CheckState::on);
    action->setToolTip(plainToolTip(!entry.help.isEmpty() ? entry.help : isCut ? whole : QString()));
}

void MenuRenderer::putInOrder() {
    for (qsizetype index = 0; index < static_cast<qsizetype>(rows.size()); ++index) {
        auto* action = rows[static_cast<std::size_t>(index)].action;
        auto* present = actions().value(index);
        if (present != action) {
            insertAction(present, action);
        }
    }
}

/// A shortcut that two actions of one window answer to is ambiguous, and then neither does.
void MenuRenderer::placeShortcuts() {
    std::vector<QKeySequence> taken;
    for (const auto& [entry, action, submenu] : rows) {
        const auto isTaken = std::find(taken.begin(), taken.end(), entry.shortcut) != taken.end();
        action->setShortcutContext(isTaken ? Qt::WidgetShortcut : Qt::WindowShortcut);
        action->setShortcut(entry.shortcut);
        action->setShortcutVisibleInContextMenu(true);
        if (!entry.shortcut.isEmpty()) {
            taken.push_back(entry.shortcut);
        }
    }
}

void MenuRenderer::choose(const QAction* action) {
    const auto* row = rowOf(action);
    if (!row) {
        return;
    }
    // The toolkit has turned the mark around by itself; it follows the value shown.
    row->action->setChecked(row->entry.check == MenuEntry::CheckState::on);
    if (row->entry.action) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), row->entry.action, Qt::QueuedConnection);
    }
}

void MenuRenderer::initStyleOption(QStyleOptionMenuItem* option, const QAction* action) const {
    QMenu::initStyleOption(option, action);
    const auto* row = rowOf(action);
    if (!row || row->entry.kind != MenuEntry::Kind::text) {
        return;
    }
    // For every state, as the toolkit would draw a line that cannot be chosen too faint to read.
    const auto colour = textColour(row->entry.style, palette());
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
        option->palette.setColor(role, colour);
    }
}

void MenuRenderer::changeEvent(QEvent* event) {
    QMenu::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        for (const auto& row : rows) {
            apply(row);
        }
    }
}

const MenuRenderer::Row* MenuRenderer::rowOf(const QAction* action) const {
    const auto found = std::ranges::find(rows, action, &Row::action);
    return found == rows.end() ? nullptr : &*found;
}

} // namespace quillo
