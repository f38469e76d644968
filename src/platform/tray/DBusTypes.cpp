#include "platform/tray/DBusTypes.h"

namespace quillo::dbus {

QDBusArgument& operator<<(QDBusArgument& argument, const QList<MenuLayout>& children) {
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const auto& child : children) {
        argument << QDBusVariant(QVariant::fromValue(child));
    }
    argument.endArray();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, QList<MenuLayout>& children) {
    children.clear();
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        children.append(qdbus_cast<MenuLayout>(child.variant()));
    }
    argument.endArray();
    return argument;
}

void registerTypes() {
    registerMetaTypes<Pixmap, ToolTip, MenuItem, RemovedProperty, MenuLayout, MenuEvent>();
    qDBusRegisterMetaType<QList<int>>();
    qDBusRegisterMetaType<Shortcut>();
    // Qt's adaptors look the parameters of signals and slots up by the names that they are spelled with.
    qRegisterMetaType<MenuEvents>("quillo::dbus::MenuEvents");
    qRegisterMetaType<MenuItems>("quillo::dbus::MenuItems");
    qRegisterMetaType<RemovedProperties>("quillo::dbus::RemovedProperties");
}

} // namespace quillo::dbus
