#pragma once

#include "platform/desktop/DBusStructure.h"

#include <QString>
#include <QVariantMap>

namespace quillo::portal {

using dbus::operator<<;
using dbus::operator>>;

/// A shortcut as the portal sends and takes it: `(sa{sv})`.
struct Shortcut {
    QString id = {};
    QVariantMap properties = {};

    static constexpr std::tuple members{&Shortcut::id, &Shortcut::properties};
};
using Shortcuts = QList<Shortcut>;

/// The list that a portal answered with; empty when the value is anything else.
[[nodiscard]] inline Shortcuts shortcutsOf(const QVariant& value) {
    const auto argument = value.value<QDBusArgument>();
    return argument.currentSignature() == QStringLiteral("a(sa{sv})") ? qdbus_cast<Shortcuts>(argument)
                                                                      : Shortcuts();
}

} // namespace quillo::portal
