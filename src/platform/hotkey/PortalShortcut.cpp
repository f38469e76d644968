#include "platform/hotkey/PortalShortcut.h"

#include <QDBusObjectPath>

using namespace Qt::Literals::StringLiterals;

namespace quillo::portal {

void registerTypes() {
    dbus::registerStructures<Shortcut>();
    // Qt knows its own type by name only once somebody has asked for its number, and connects to no signal
    // that carries a type whose name it does not know.
    qRegisterMetaType<QDBusObjectPath>();
}

Shortcuts shortcutsOf(const QVariant& value) {
    const auto argument = value.value<QDBusArgument>();
    return argument.currentSignature() == "a(sa{sv})"_L1 ? qdbus_cast<Shortcuts>(argument) : Shortcuts();
}

} // namespace quillo::portal
