#include "platform/desktop/SleepMonitor.h"

#include "platform/desktop/NotificationCenter.h"

#include "platform/desktop/LoginManagerInterface.h"

using namespace Qt::Literals::StringLiterals;

namespace quillo {

std::unique_ptr<QObject> monitorSleep(const QDBusConnection& systemBus, NotificationCenter& center) {
    using Manager = OrgFreedesktopLogin1ManagerInterface;
    auto manager =
        std::make_unique<Manager>(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s, systemBus);
    QObject::connect(manager.get(), &Manager::PrepareForSleep, manager.get(), [&center](bool start) {
        if (!start) {
            center.post(notification::workspaceDidWake);
        }
    });
    return manager;
}

} // namespace quillo
