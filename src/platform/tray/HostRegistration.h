#pragma once

#include "core/Task.h"
#include "core/TaskScope.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

#include <memory>

class OrgKdeStatusNotifierWatcherInterface;

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
    ~HostRegistration() override;

    /// Begins; the item must be on the bus already.
    void start();

    /// Asks the present owner to take the item, if there is one and it was not asked already.
    void registerItem();

    /// Whether the present owner has taken the item.
    [[nodiscard]] bool isRegistered() const noexcept { return state == State::registered; }

Q_SIGNALS:
    /// There is a new owner, not asked yet. `executable` is the base name of
    /// its program's file, or of the desktop's usual panel where a sandbox hides it; empty when neither can
    /// be found out.
    void watcherFound(const QString& executable);

    /// There is no owner, at the start or any more.
    void watcherLost();

private:
    enum class State { unknown, noWatcher, unidentified, found, asking, refused, registered };

    void onOwnerChanged(const QString& newOwner);
    [[nodiscard]] Task<> findOwner();
    [[nodiscard]] Task<> identify();
    [[nodiscard]] Task<> ask();

    QDBusConnection connection;
    QDBusServiceWatcher ownership;
    QString owner;
    std::unique_ptr<OrgKdeStatusNotifierWatcherInterface> watcher; ///< of the present owner
    State state = State::unknown;
    TaskScope calls; ///< to the present owner, or about it
};

} // namespace quillo
