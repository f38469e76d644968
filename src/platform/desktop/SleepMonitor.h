#pragma once

#include <QDBusConnection>

#include <memory>

class OrgFreedesktopLogin1ManagerInterface;

namespace quillo {

class NotificationCenter;

/// Posts `workspaceDidWake` whenever logind says that the machine has come back from sleep.
///
/// It only listens: logind may come, go and come back. Without a system bus or logind nothing is ever posted.
class SleepMonitor {
public:
    SleepMonitor(const QDBusConnection& systemBus, NotificationCenter& center);
    ~SleepMonitor();

private:
    std::unique_ptr<OrgFreedesktopLogin1ManagerInterface> manager;
};

} // namespace quillo
