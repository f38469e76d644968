#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariantMap>

/// The structures of the status item's two D-Bus interfaces. `registerTypes` makes them known to Qt's D-Bus
/// module; it must run before the first of them is sent or received.
namespace quillo::dbus {

/// An image, (iiay): ARGB32 in network byte order.
struct Pixmap {
    int width = 0;
    int height = 0;
    QByteArray bytes = {};

    [[nodiscard]] friend bool operator==(const Pixmap&, const Pixmap&) = default;
};
using Pixmaps = QList<Pixmap>;

/// (sa(iiay)ss)
struct ToolTip {
    QString iconName = {};
    Pixmaps iconPixmaps = {};
    QString title = {};
    /// Panels may take markup in it.
    QString description = {};
};

/// A menu item with some of its properties, (ia{sv}).
struct MenuItem {
    int id = 0;
    QVariantMap properties = {};
};
using MenuItems = QList<MenuItem>;

/// The names of properties that went back to their defaults, (ias).
struct RemovedProperty {
    int id = 0;
    QStringList names = {};
};
using RemovedProperties = QList<RemovedProperty>;

/// A menu item with its children, (ia{sv}av); each child travels in a variant of its own.
struct MenuLayout {
    int id = 0;
    QVariantMap properties = {};
    QList<MenuLayout> children = {};
};

/// What happened to a menu item in the panel, (isvu).
struct MenuEvent {
    int id = 0;
    QString name = {};
    QDBusVariant data = {};
    uint timestamp = 0;
};
using MenuEvents = QList<MenuEvent>;

/// The keys of a shortcut, aas: one list for each chord, the key last.
using Shortcut = QList<QStringList>;

QDBusArgument& operator<<(QDBusArgument& argument, const Pixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, Pixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& toolTip);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuItem& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItem& item);
QDBusArgument& operator<<(QDBusArgument& argument, const RemovedProperty& removed);
const QDBusArgument& operator>>(const QDBusArgument& argument, RemovedProperty& removed);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuLayout& layout);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuLayout& layout);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuEvent& event);

void registerTypes();

} // namespace quillo::dbus

Q_DECLARE_METATYPE(quillo::dbus::Pixmap)
Q_DECLARE_METATYPE(quillo::dbus::ToolTip)
Q_DECLARE_METATYPE(quillo::dbus::MenuItem)
Q_DECLARE_METATYPE(quillo::dbus::RemovedProperty)
Q_DECLARE_METATYPE(quillo::dbus::MenuLayout)
Q_DECLARE_METATYPE(quillo::dbus::MenuEvent)
