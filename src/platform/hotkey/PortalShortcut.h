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

/// Makes the types known to Qt's D-Bus classes; may be called again.
void registerTypes();

/// The list that a portal answered with; empty when the value is anything else.
[[nodiscard]] Shortcuts shortcutsOf(const QVariant& value);

} // namespace quillo::portal
