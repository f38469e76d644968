#include "platform/tray/MenuTree.h"

#include "core/PlainText.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

/// No key of an entry is "+" itself.
dbus::Shortcut chords(const QKeySequence& sequence) {
    dbus::Shortcut all;
    for (const auto& chord : sequence.toString(QKeySequence::PortableText).split(u", "_s)) {
        auto keys = chord.split(u'+');
        all += keys.replaceInStrings(u"Ctrl"_s, u"Control"_s).replaceInStrings(u"Meta"_s, u"Super"_s);
    }
    return all;
}

/// In the order of the styles.
const std::array dispositions{QString(), u"informative"_s, u"alert"_s, u"warning"_s};

/// One line, in which "_" would mark the next character as a mnemonic and "__" stands for itself; some panels
/// look for the first mark only and take every other underscore as it is.
QString menuLabel(const QString& text, Underscores doubled) {
    auto label = plainLine(text);
    if (doubled == Underscores::all) {
        return label.replace(u'_', u"__"_s);
    }
    const auto mark = label.indexOf(QRegularExpression(u"_[^_]"_s));
    return mark < 0 ? label : label.insert(mark, u'_');
}

QVariantMap shownProperties(const MenuEntry& entry, Underscores doubled) {
    QVariantMap shown;
    if (entry.kind == MenuEntry::Kind::divider) {
        shown[u"type"_s] = u"separator"_s;
        return shown;
    }
    shown[u"label"_s] = menuLabel(entry.text, doubled);
    if (entry.kind == MenuEntry::Kind::text) {
        shown[u"enabled"_s] = false;
    }
    if (entry.kind == MenuEntry::Kind::submenu) {
        shown[u"children-display"_s] = u"submenu"_s;
    }
    if (entry.check != MenuEntry::CheckState::none) {
        shown[u"toggle-type"_s] = u"checkmark"_s;
        shown[u"toggle-state"_s] = entry.check == MenuEntry::CheckState::on ? 1 : 0;
    }
    if (!entry.shortcut.isEmpty()) {
        shown[u"shortcut"_s] = QVariant::fromValue(chords(entry.shortcut));
    }
    if (!entry.help.isEmpty()) {
        shown[u"accessible-desc"_s] = plainLine(u"%1. %2"_s.arg(entry.text, entry.help));
    }
    if (entry.style != MenuEntry::Style::normal) {
        shown[u"disposition"_s] = dispositions.at(static_cast<std::size_t>(entry.style));
    }
    return shown;
}

QVariantMap selected(const QVariantMap& properties, const QStringList& names) {
    if (names.isEmpty()) {
        return properties;
    }
    QVariantMap wanted;
    for (const auto& name : names.mid(0, 32)) { // twice as many as the protocol has
        if (const auto found = properties.constFind(name); found != properties.cend()) {
            wanted.insert(name, *found);
        }
    }
    return wanted;
}

void compare(int id, const QVariantMap& before, const QVariantMap& after, MenuTree::Change& change) {
    dbus::MenuItem updated{id};
    for (auto property = after.cbegin(); property != after.cend(); ++property) {
        if (before.value(property.key()) != property.value()) {
            updated.properties.insert(property.key(), property.value());
        }
    }
    dbus::RemovedProperty removed{id};
    for (auto property = before.cbegin(); property != before.cend(); ++property) {
        if (!after.contains(property.key())) {
            removed.names.append(property.key());
        }
    }
    if (!updated.properties.isEmpty()) {
        change.updated.append(updated);
    }
    if (!removed.names.isEmpty()) {
        change.removed.append(removed);
    }
}

} // namespace

MenuTree::MenuTree() {
    dbus::registerTypes();
    top.entry.kind = MenuEntry::Kind::submenu;
    top.properties[u"children-display"_s] = u"submenu"_s;
    nodes.insert(root, &top);
}

MenuTree::Change MenuTree::replace(Menu menu) {
    Change change;
    replaceChildren(top, std::move(menu), change);
    if (change.layoutParent) {
        ++currentRevision;
    }
    return change;
}

void MenuTree::setDoubled(Underscores underscores) {
    doubled = underscores;
    for (auto* node : std::as_const(nodes)) {
        if (node != &top) {
            node->properties = shownProperties(node->entry, doubled);
        }
    }
}

std::unique_ptr<MenuTree::Node> MenuTree::create(MenuEntry entry) {
    auto node = std::make_unique<Node>();
    node->id = ++lastId;
    nodes.insert(node->id, node.get());
    Change told; // by the change of the layout that the entry is part of
    update(*node, std::move(entry), told);
    return node;
}

void MenuTree::update(Node& node, MenuEntry entry, Change& change) {
    auto children = std::exchange(entry.children, {});
    auto properties = shownProperties(entry, doubled);
    compare(node.id, node.properties, properties, change);
    node.properties = std::move(properties);
    node.entry = std::move(entry);
    replaceChildren(node, std::move(children), change);
}

void MenuTree::replaceChildren(Node& parent, Menu entries, Change& change) {
    auto before = std::exchange(parent.children, {});
    const auto countBefore = before.size();
    auto moved = entries.size() != countBefore;
    // Everything left of this has been taken over, so that an unchanged menu costs one comparison an entry.
    std::size_t firstLeft = 0;
    for (auto& entry : entries) {
        const auto same =
            std::find_if(before.begin() + static_cast<std::ptrdiff_t>(firstLeft), before.end(),
                         [&entry](const auto& node) {
                             return node && node->entry.kind == entry.kind && node->entry.key == entry.key;
                         });
        const auto index = static_cast<std::size_t>(same - before.begin());
        moved = moved || index != parent.children.size();
        if (same == before.end()) {
            parent.children.push_back(create(std::move(entry)));
            continue;
        }
        parent.children.push_back(std::move(*same));
        update(*parent.children.back(), std::move(entry), change);
        while (firstLeft < countBefore && !before[firstLeft]) {
            ++firstLeft;
        }
    }
    for (const auto& node : before) {
        if (node) {
            forget(*node);
        }
    }
    if (moved) {
        change.layoutParent = change.layoutParent ? root : parent.id;
    }
}

void MenuTree::forget(const Node& node) {
    nodes.remove(node.id);
    for (const auto& child : node.children) {
        forget(*child);
    }
}

dbus::MenuLayout MenuTree::layout(const Node& node, int depth, const QStringList& names) {
    dbus::MenuLayout shown{node.id, selected(node.properties, names)};
    if (depth != 0) {
        shown.children.reserve(static_cast<qsizetype>(node.children.size()));
        for (const auto& child : node.children) {
            shown.children.append(layout(*child, depth - 1, names));
        }
    }
    return shown;
}

std::optional<dbus::MenuLayout> MenuTree::layout(int id, int depth, const QStringList& names) const {
    const auto* node = nodes.value(id);
    if (!node) {
        return std::nullopt;
    }
    return layout(*node, depth, names);
}

QList<int> MenuTree::once(const QList<int>& ids) const {
    QList<int> distinct;
    for (const auto id : ids.mid(0, nodes.size())) {
        if (!distinct.contains(id)) {
            distinct.append(id);
        }
    }
    return distinct;
}

dbus::MenuItems MenuTree::properties(const QList<int>& ids, const QStringList& names) const {
    dbus::MenuItems items;
    for (const auto id : ids.isEmpty() ? nodes.keys() : ids) {
        if (const auto* node = nodes.value(id)) {
            items.append({id, selected(node->properties, names)});
        }
    }
    return items;
}

std::function<void()> MenuTree::action(int id) const {
    const auto* node = nodes.value(id);
    return node && node->entry.kind == MenuEntry::Kind::button ? node->entry.action : std::function<void()>();
}

} // namespace quillo
