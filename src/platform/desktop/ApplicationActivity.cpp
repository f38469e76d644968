#include "platform/desktop/ApplicationActivity.h"

#include "platform/desktop/NotificationCenter.h"

#include <QGuiApplication>

namespace quillo {

ApplicationActivity::ApplicationActivity(NotificationCenter& center) {
    QObject::connect(qGuiApp, &QGuiApplication::applicationStateChanged, &context,
                     [&center](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive) {
                             center.post(notification::applicationDidBecomeActive);
                         }
                     });
}

} // namespace quillo
