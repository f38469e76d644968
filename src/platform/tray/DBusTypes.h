#pragma once

#include "platform/desktop/DBusStructure.h"

#include <QByteArray>
#include <QDBusVariant>
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

    static constexpr std::tuple members{&Pixmap::width, &Pixmap::height, &Pixmap::bytes};
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

    static constexpr std::tuple members{&ToolTip::iconName, &ToolTip::iconPixmaps, &ToolTip::title,
                                        &ToolTip::description};
    [[nodiscard]] friend bool operator==(const ToolTip&, const ToolTip&) = default;
};

/// A menu item with some of its properties, (ia{sv}).
struct MenuItem {
    int id = 0;
    QVariantMap properties = {};

    static constexpr std::tuple members{&MenuItem::id, &MenuItem::properties};
};
using MenuItems = QList<MenuItem>;

/// The names of properties that went back to their defaults, (ias).
struct RemovedProperty {
    int id = 0;
    QStringList names = {};

    static constexpr std::tuple members{&RemovedProperty::id, &RemovedProperty::names};
};
using RemovedProperties = QList<RemovedProperty>;

/// A menu item with its children, (ia{sv}av); each child travels in a variant of its own.
struct MenuLayout {
    int id = 0;
    QVariantMap properties = {};
    QList<MenuLayout> children = {};

    static constexpr std::tuple members{&MenuLayout::id, &MenuLayout::properties, &MenuLayout::children};
};
QDBusArgument& operator<<(QDBusArgument& argument, const QList<MenuLayout>& children);
const QDBusArgument& operator>>(const QDBusArgument& argument, QList<MenuLayout>& children);

/// What happened to a menu item in the panel, (isvu).
struct MenuEvent {
    int id = 0;
    QString name = {};
    QDBusVariant data = {};
    uint timestamp = 0;

    static constexpr std::tuple members{&MenuEvent::id, &MenuEvent::name, &MenuEvent::data,
                                        &MenuEvent::timestamp};
};
using MenuEvents = QList<MenuEvent>;

/// The keys of a shortcut, aas: one list for each chord, the key last.
using Shortcut = QList<QStringList>;

void registerTypes();

} // namespace quillo::dbus
