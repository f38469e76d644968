#include "platform/tray/DBusTypes.h"

#include <QDBusMetaType>

namespace quillo::dbus {

QDBusArgument& operator<<(QDBusArgument& argument, const Pixmap& pixmap) {
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.bytes;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Pixmap& pixmap) {
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.bytes;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& toolTip) {
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.iconPixmaps << toolTip.title << toolTip.description;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& toolTip) {
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.iconPixmaps >> toolTip.title >> toolTip.description;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuItem& item) {
    argument.beginStructure();
    argument << item.id << item.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItem& item) {
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const RemovedProperty& removed) {
    argument.beginStructure();
    argument << removed.id << removed.names;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, RemovedProperty& removed) {
    argument.beginStructure();
    argument >> removed.id >> removed.names;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuLayout& layout) {
    argument.beginStructure();
    argument << layout.id << layout.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const auto& child : layout.children) {
        argument << QDBusVariant(QVariant::fromValue(child));
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuLayout& layout) {
    argument.beginStructure();
    argument >> layout.id >> layout.properties;
    layout.children.clear();
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        layout.children.append(qdbus_cast<MenuLayout>(child.variant()));
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuEvent& event) {
    argument.beginStructure();
    argument << event.id << event.name << event.data << event.timestamp;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuEvent& event) {
    argument.beginStructure();
    argument >> event.id >> event.name >> event.data >> event.timestamp;
    argument.endStructure();
    return argument;
}

void registerTypes() {
    qDBusRegisterMetaType<Pixmap>();
    qDBusRegisterMetaType<Pixmaps>();
    qDBusRegisterMetaType<ToolTip>();
    qDBusRegisterMetaType<MenuItem>();
    qDBusRegisterMetaType<MenuItems>();
    qDBusRegisterMetaType<RemovedProperty>();
    qDBusRegisterMetaType<RemovedProperties>();
    qDBusRegisterMetaType<MenuLayout>();
    qDBusRegisterMetaType<MenuEvent>();
    qDBusRegisterMetaType<MenuEvents>();
    qDBusRegisterMetaType<QList<int>>();
    qDBusRegisterMetaType<Shortcut>();
    // Qt's adaptors look the parameters of signals and slots up by the names that they are spelled with.
    qRegisterMetaType<MenuEvents>("quillo::dbus::MenuEvents");
    qRegisterMetaType<MenuItems>("quillo::dbus::MenuItems");
    qRegisterMetaType<RemovedProperties>("quillo::dbus::RemovedProperties");
}

} // namespace quillo::dbus
