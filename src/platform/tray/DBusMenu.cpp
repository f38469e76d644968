#include "platform/tray/DBusMenu.h"

#include "DBusMenuAdaptor.h"

#include <QDBusError>
#include <QGuiApplication>

#include <algorithm>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

DBusMenu::DBusMenu(QObject* parent) : QObject(parent) {
    dbus::registerTypes();
    new DBusMenuAdaptor(this); // owned by this object; Qt finds it among the children
    setProperty("Version", 3U);
    setProperty("TextDirection", QGuiApplication::layoutDirection() == Qt::RightToLeft ? u"rtl"_s : u"ltr"_s);
    setProperty("Status", u"normal"_s);
}

bool DBusMenu::exportOn(QDBusConnection connection) {
    return connection.registerObject(path.toString(), this, QDBusConnection::ExportAdaptors);
}

void DBusMenu::setMenu(Menu menu) {
    const auto change = tree.replace(std::move(menu));
    if (!change.updated.isEmpty() || !change.removed.isEmpty()) {
        Q_EMIT ItemsPropertiesUpdated(change.updated, change.removed);
    }
    if (change.layoutParent) {
        Q_EMIT LayoutUpdated(tree.revision(), *change.layoutParent);
    }
}

void DBusMenu::refuse(int id) {
    sendErrorReply(QDBusError::InvalidArgs, u"The menu has no item %1"_s.arg(id));
}

uint DBusMenu::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                         quillo::dbus::MenuLayout& layout) {
    if (auto known = tree.layout(parentId, recursionDepth, propertyNames)) {
        layout = std::move(*known);
    } else {
        refuse(parentId);
    }
    // Plasma asks one level deep, so that it would open a submenu empty and fill it too late to place it.
    for (const auto& entry : recursionDepth == 1 ? layout.children : QList<dbus::MenuLayout>()) {
        if (!tree.layout(entry.id, 1, {})->children.isEmpty()) {
            const auto tell = [this, id = entry.id] { Q_EMIT LayoutUpdated(tree.revision(), id); };
            QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
        }
    }
    return tree.revision();
}

quillo::dbus::MenuItems DBusMenu::GetGroupProperties(const QList<int>& ids,
                                                     const QStringList& propertyNames) {
    return tree.properties(tree.once(ids), propertyNames);
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name) {
    const auto found = tree.properties({id}, {name});
    if (found.isEmpty() || found.first().properties.isEmpty()) {
        sendErrorReply(QDBusError::InvalidArgs, u"The menu has no item %1 with such a property"_s.arg(id));
        return QDBusVariant(QString());
    }
    return QDBusVariant(found.first().properties.first());
}

void DBusMenu::Event(int id, const QString& eventId, const QDBusVariant&, uint) {
    if (!handle(id, eventId)) {
        refuse(id);
    }
}

QList<int> DBusMenu::EventGroup(const quillo::dbus::MenuEvents& events) {
    QList<int> unknown;
    for (const auto& event : events) {
        if (!handle(event.id, event.name)) {
            unknown.append(event.id);
        }
    }
    // libdbusmenu: an error when not one of the items is known.
    if (!unknown.isEmpty() && unknown.size() == events.size()) {
        refuse(unknown.first());
    }
    return unknown;
}

bool DBusMenu::AboutToShow(int id) {
    if (!tree.contains(id)) {
        refuse(id);
    } else if (id == MenuTree::root) {
        noteSign(Sign::aboutToShow);
    }
    return false; // changes are announced when they happen; there is nothing to ask for
}

QList<int> DBusMenu::AboutToShowGroup(const QList<int>& asked, QList<int>& idErrors) {
    const auto ids = tree.once(asked);
    for (const auto id : ids) {
        if (!tree.contains(id)) {
            idErrors.append(id);
        } else if (id == MenuTree::root) {
            noteSign(Sign::aboutToShowGroup);
        }
    }
    if (!idErrors.isEmpty() && idErrors.size() == ids.size()) {
        refuse(idErrors.first());
    }
    return {};
}

bool DBusMenu::handle(int id, const QString& eventId) {
    if (!tree.contains(id)) {
        return false;
    }
    if (eventId == u"clicked") {
        // Taken now: should the menu be replaced before its turn comes, the click still means what it meant.
        if (auto action = tree.action(id)) {
            QMetaObject::invokeMethod(this, std::move(action), Qt::QueuedConnection);
        }
    } else if (id == MenuTree::root && eventId == u"opened") {
        noteSign(Sign::openedEvent);
    } else if (id == MenuTree::root && eventId == u"closed") {
        seen.clear();
    }
    return true;
}

// Panels say the same opening in one to three ways, each way once, and not all say when the menu closes. So a
// way that has been seen already, or anything after "closed", begins another opening.
void DBusMenu::noteSign(Sign sign) {
    if (openingSign == OpeningSign::openedEvent && sign != Sign::openedEvent) {
        return;
    }
    const auto another = seen.empty() || std::find(seen.begin(), seen.end(), sign) != seen.end();
    if (another) {
        seen.clear();
        QMetaObject::invokeMethod(this, &DBusMenu::beganTracking, Qt::QueuedConnection);
    }
    seen.push_back(sign);
}

} // namespace quillo
