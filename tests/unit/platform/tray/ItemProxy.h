#pragma once

#include "platform/tray/DBusTypes.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

#include <vector>

namespace quillo::test {

/// The item as a panel sees it over the bus: what it answers, and every signal that it sends.
class ItemProxy final : public QObject {
    Q_OBJECT
public:
    /// `service` is the item's connection.
    ItemProxy(const QDBusConnection& connection, const QString& service);

    /// Calls without blocking the event loop and hands back the answer, be it an error.
    [[nodiscard]] QDBusMessage callItem(const QString& method, const QVariantList& arguments = {});
    [[nodiscard]] QDBusMessage callMenu(const QString& method, const QVariantList& arguments = {});

    [[nodiscard]] QVariantMap itemProperties();
    [[nodiscard]] QVariant itemProperty(const QString& name) { return itemProperties().value(name); }
    [[nodiscard]] QVariantMap menuProperties();

    struct Layout {
        uint revision = 0;
        dbus::MenuLayout root = {};
    };
    [[nodiscard]] Layout layout(int parent = 0, int depth = -1, const QStringList& names = {});

    /// The entry of the root with that label.
    [[nodiscard]] int idOf(const QString& label);

    /// The signals that came, of the item, its menu and their properties, once everything that was sent
    /// before this call has come. Forgets them.
    [[nodiscard]] std::vector<QDBusMessage> takeSignals();

private Q_SLOTS:
    void onSignal(const QDBusMessage& message) { received.push_back(message); }

private:
    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments);

    QDBusConnection bus;
    QString service;
    std::vector<QDBusMessage> received;
};

} // namespace quillo::test
