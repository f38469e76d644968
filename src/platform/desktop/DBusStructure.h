#pragma once

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QList>

#include <tuple>

namespace quillo::dbus {

/// A type that travels as a D-Bus structure: it lists its members in the order of the wire as
/// `static constexpr std::tuple members`.
template <typename T>
concept Structure = requires {
    T::members;
};

template <Structure T>
QDBusArgument& operator<<(QDBusArgument& argument, const T& structure) {
    argument.beginStructure();
    std::apply([&](auto... member) { (argument << ... << (structure.*member)); }, T::members);
    argument.endStructure();
    return argument;
}

template <Structure T>
const QDBusArgument& operator>>(const QDBusArgument& argument, T& structure) {
    argument.beginStructure();
    std::apply([&](auto... member) { (argument >> ... >> (structure.*member)); }, T::members);
    argument.endStructure();
    return argument;
}

/// Makes object paths, the structures, and lists of them, known to Qt's D-Bus classes, which must come before
/// the first is sent or received. May be called again.
template <Structure... T>
void registerMetaTypes() {
    // Qt knows its own type by name only once somebody has asked for its number, and connects to no signal
    // that carries a type whose name it does not know.
    qRegisterMetaType<QDBusObjectPath>();
    (qDBusRegisterMetaType<T>(), ...);
    (qDBusRegisterMetaType<QList<T>>(), ...);
}

} // namespace quillo::dbus
