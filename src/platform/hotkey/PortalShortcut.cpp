#include "platform/hotkey/PortalShortcut.h"

#include <QDBusMetaType>
#include <QDBusObjectPath>

using namespace Qt::Literals::StringLiterals;

namespace quillo::portal {

QDBusArgument& operator<<(QDBusArgument& argument, const Shortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Shortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

void registerTypes() {
    qDBusRegisterMetaType<Shortcut>();
    qDBusRegisterMetaType<Shortcuts>();
    // Qt knows its own type by name only once somebody has asked for its number, and connects to no signal
    // that carries a type whose name it does not know.
    qRegisterMetaType<QDBusObjectPath>();
}

Shortcuts shortcutsOf(const QVariant& value) {
    const auto argument = value.value<QDBusArgument>();
    return argument.currentSignature() == "a(sa{sv})"_L1 ? qdbus_cast<Shortcuts>(argument) : Shortcuts();
}

} // namespace quillo::portal
