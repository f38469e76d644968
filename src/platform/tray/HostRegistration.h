#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

namespace quillo {

/// Keeps the status item registered with `org.kde.StatusNotifierWatcher`, whoever owns that name, and
/// whenever.
///
/// Each new owner is asked at most once, when `registerItem` says so, without waiting for its answer. One
/// that refuses is asked again when it announces a panel (`StatusNotifierHostRegistered`). Nothing here
/// polls, blocks or gives up.
class HostRegistration final : public QObject {
    Q_OBJECT
public:
    explicit HostRegistration(const QDBusConnection& connection, QObject* parent = nullptr);

    /// Begins; the item must be on the bus already.
    void start();

    /// Asks the present owner to take the item, if there is one and it was not asked already.
    void registerItem();

    /// Whether the present owner has taken the item.
    [[nodiscard]] bool isRegistered() const noexcept { return state == State::registered; }

Q_SIGNALS:
    /// There is a new owner, not asked yet. `executable` is the base name of
    /// its program's file, empty when that cannot be found out.
    void watcherFound(const QString& executable);

    /// There is no owner, at the start or any more.
    void watcherLost();
    void registered();

private Q_SLOTS:
    // Qt connects D-Bus signals of services without a proxy object by name only.
    void onHostRegistered();

private:
    enum class State { unknown, noWatcher, unidentified, found, asking, refused, registered };

    void onOwnerChanged(const QString& newOwner);
    void identify();
    void ask();

    QDBusConnection connection;
    QDBusServiceWatcher watcher;
    QString owner;
    State state = State::unknown;
};

} // namespace quillo
