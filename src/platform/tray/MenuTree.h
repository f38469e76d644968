#pragma once

#include "platform/tray/DBusTypes.h"
#include "platform/tray/HostTable.h"
#include "platform/tray/MenuEntry.h"

#include <QHash>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quillo {

/// A menu with an id for every entry, as `com.canonical.dbusmenu` wants it, and the differences from one menu
/// to the next.
///
/// An entry keeps its id while its kind and the keys from the root to it stay; the id of an entry that has
/// gone is never given to another. Properties at the defaults of the protocol are left out. Help goes into
/// "accessible-desc", after the text, because assistive technologies read that in place of the label. Colours
/// go into "disposition": red is "alert", orange "warning", secondary "informative".
class MenuTree {
public:
    /// The id of the menu itself.
    static constexpr int root = 0;

    /// What panels have to be told.
    struct Change {
        dbus::MenuItems updated = {};
        dbus::RemovedProperties removed = {};
        /// The entry whose children, at any depth, came, went or moved.
        std::optional<int> layoutParent = {};
    };

    MenuTree();

    /// Shows `menu` from now on. The change is empty when it shows the same as before.
    Change replace(Menu menu);

    /// For a panel that has read nothing yet: it is no change.
    void setDoubled(Underscores underscores);

    /// Rises by one with every change of the layout.
    [[nodiscard]] uint revision() const noexcept { return currentRevision; }

    [[nodiscard]] bool contains(int id) const { return nodes.contains(id); }

    /// Each of `ids` once, of no more than there are entries: a message may hold millions.
    [[nodiscard]] QList<int> once(const QList<int>& ids) const;

    /// The entry with its children down to `depth` levels, all for a negative one, and of their properties
    /// those that are named, all for an empty list. Absent for an unknown id.
    [[nodiscard]] std::optional<dbus::MenuLayout> layout(int id, int depth, const QStringList& names) const;

    /// The properties of the known ones among `ids`, of all entries when it is empty.
    [[nodiscard]] dbus::MenuItems properties(const QList<int>& ids, const QStringList& names) const;

    /// What choosing the entry does now; empty where there is nothing to do.
    [[nodiscard]] std::function<void()> action(int id) const;

private:
    struct Node {
        int id = root;
        MenuEntry entry; ///< without children
        QVariantMap properties;
        std::vector<std::unique_ptr<Node>> children;
    };

    std::unique_ptr<Node> create(MenuEntry entry);
    void update(Node& node, MenuEntry entry, Change& change);
    void replaceChildren(Node& parent, Menu entries, Change& change);
    void forget(const Node& node);
    static dbus::MenuLayout layout(const Node& node, int depth, const QStringList& names);

    Node top;
    QHash<int, Node*> nodes;
    Underscores doubled = Underscores::all;
    int lastId = root;
    uint currentRevision = 1;
};

} // namespace quillo
