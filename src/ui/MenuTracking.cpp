#include "ui/MenuTracking.h"

#include "platform/desktop/NotificationCenter.h"

#include <QApplication>
#include <QEvent>
#include <QWidget>

namespace quillo {

MenuTracking::MenuTracking(NotificationCenter& center) : notifications(center) {
    qApp->installEventFilter(this);
}

bool MenuTracking::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Show && !QApplication::activePopupWidget()) {
        const auto* widget = qobject_cast<QWidget*>(watched);
        if (widget && widget->windowType() == Qt::Popup) {
            notifications.post(notification::menuDidBeginTracking);
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace quillo
