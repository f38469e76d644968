#pragma once

#include "platform/tray/MenuEntry.h"

#include <QMenu>

#include <vector>

namespace quillo {

/// Shows a `Menu` in a menu of the toolkit, at the pointer or in a menu bar.
///
/// An entry that stays the same from one menu to the next keeps its action, and only what differs is changed,
/// so a menu that is open stays open and does not flicker. Text lines cannot be chosen but are drawn as
/// legibly as the rest. A line too long for a menu is cut, with the whole of it in the tool tip. Of several
/// entries with one shortcut the first answers to it in a menu bar; the others only show it.
class MenuRenderer final : public QMenu {
public:
    explicit MenuRenderer(QWidget* parent = nullptr);

    void setMenu(Menu menu);

protected:
    void initStyleOption(QStyleOptionMenuItem* option, const QAction* action) const override;
    void changeEvent(QEvent* event) override;

private:
    struct Row {
        MenuEntry entry; ///< without children
        QAction* action = nullptr;
        MenuRenderer* submenu = nullptr; ///< of a submenu, which also owns its action
    };

    [[nodiscard]] Row takeRow(std::vector<Row>& before, const MenuEntry& entry);
    void remove(const Row& row);
    void apply(const Row& row) const;
    void putInOrder();
    void placeShortcuts();
    void choose(const QAction* action);
    [[nodiscard]] const Row* rowOf(const QAction* action) const;

    std::vector<Row> rows;
};

} // namespace quillo
