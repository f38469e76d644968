#pragma once

#include "core/Signal.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringView>

#include <functional>
#include <memory>

namespace quillo {

/// Passes named notifications between parts of this process that do not know each other. For the main thread.
class NotificationCenter {
public:
    using Callback = std::function<void()>;

    NotificationCenter() = default;
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    /// Calls the observers of `name`, in the order of their registration, before it returns.
    void post(QStringView name);

    /// Calls `callback` at every later post of exactly `name`, for as long as the handle lives.
    [[nodiscard]] Observation observe(QStringView name, Callback callback);

private:
    QHash<QString, Signal<>> channels;
};

/// The names that this program posts.
namespace notification {

/// The machine has come back from sleep.
inline constexpr QStringView workspaceDidWake = u"quillo.workspaceDidWake";

/// One of the program's windows got the focus while none had it.
inline constexpr QStringView applicationDidBecomeActive = u"quillo.applicationDidBecomeActive";

/// One of the program's menus is being opened.
inline constexpr QStringView menuDidBeginTracking = u"quillo.menuDidBeginTracking";

/// The ledger window is asked to come to the front.
inline constexpr QStringView openLedgerRequested = u"quillo.openLedgerRequested";

} // namespace notification

/// Posts `applicationDidBecomeActive` whenever the application becomes active, as long as what is returned
/// lives. Needs a `QGuiApplication`.
[[nodiscard]] std::unique_ptr<QObject> watchActivity(NotificationCenter& center);

/// Posts `workspaceDidWake` whenever logind says that the machine has come back from sleep, as long as what
/// is returned lives.
///
/// It only listens: logind may come, go and come back. Without a system bus or logind nothing is ever posted.
[[nodiscard]] std::unique_ptr<QObject> monitorSleep(const QDBusConnection& systemBus,
                                                    NotificationCenter& center);

} // namespace quillo
