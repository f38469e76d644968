#include "platform/desktop/NotificationCenter.h"

#include <QGuiApplication>

#include <utility>

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

} // namespace quillo
