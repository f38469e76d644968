#include "platform/desktop/NotificationCenter.h"

#include "platform/desktop/LoginManagerInterface.h"

#include <QGuiApplication>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

void NotificationCenter::post(QStringView name) {
    // A copy, because an observer may observe a new name, which moves the signals about in the table.
    const auto signal = channels.value(name.toString());
    signal.emit();
}

Observation NotificationCenter::observe(QStringView name, Callback callback) {
    return channels[name.toString()].observe(std::move(callback));
}

std::unique_ptr<QObject> watchActivity(NotificationCenter& center) {
    auto context = std::make_unique<QObject>();
    QObject::connect(qGuiApp, &QGuiApplication::applicationStateChanged, context.get(),
                     [&center](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive) {
                             center.post(notification::applicationDidBecomeActive);
                         }
                     });
    return context;
}

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
