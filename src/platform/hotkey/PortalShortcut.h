#pragma once

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

namespace quillo::portal {

/// A shortcut as the portal sends and takes it: `(sa{sv})`.
struct Shortcut {
    QString id = {};
    QVariantMap properties = {};
};
using Shortcuts = QList<Shortcut>;

QDBusArgument& operator<<(QDBusArgument& argument, const Shortcut& shortcut);
const QDBusArgument& operator>>(const QDBusArgument& argument, Shortcut& shortcut);

/// Makes the types known to Qt's D-Bus classes; may be called again.
void registerTypes();

/// The list that a portal answered with; empty when the value is anything else.
[[nodiscard]] Shortcuts shortcutsOf(const QVariant& value);

} // namespace quillo::portal

Q_DECLARE_METATYPE(quillo::portal::Shortcut)
