#pragma once

#include <QDBusConnection>
#include <QObject>

#include <memory>

namespace quillo {

class NotificationCenter;

/// Posts `workspaceDidWake` whenever logind says that the machine has come back from sleep, as long as what
/// is returned lives.
///
/// It only listens: logind may come, go and come back. Without a system bus or logind nothing is ever posted.
[[nodiscard]] std::unique_ptr<QObject> monitorSleep(const QDBusConnection& systemBus,
                                                    NotificationCenter& center);

} // namespace quillo
