#include "platform/desktop/SleepMonitor.h"

#include "platform/desktop/NotificationCenter.h"

#include "platform/desktop/LoginManagerInterface.h"

using namespace Qt::Literals::StringLiterals;

namespace quillo {

SleepMonitor::SleepMonitor(const QDBusConnection& systemBus, NotificationCenter& center)
    : manager(std::make_unique<OrgFreedesktopLogin1ManagerInterface>(
          u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s, systemBus)) {
    QObject::connect(manager.get(), &OrgFreedesktopLogin1ManagerInterface::PrepareForSleep, manager.get(),
                     [&center](bool start) {
                         if (!start) {
                             center.post(notification::workspaceDidWake);
                         }
                     });
}

SleepMonitor::~SleepMonitor() = default;

} // namespace quillo
