#include "ui/StatusItemScene.h"

#include "platform/NotificationCenter.h"
#include "ui/Environment.h"

namespace quillo {

StatusItemScene::StatusItemScene(const QDBusConnection& connection, NotificationCenter& notifications,
                                 MenuActions actions)
    : label(notifications, actions.openLedger),
      content(std::move(actions)),
      item(connection),
      updates(Environment::store(), [this] { render(); }) {
    QObject::connect(&item, &StatusItem::menuBeganTracking, &item,
                     [&notifications] { notifications.post(notification::menuDidBeginTracking); });
    render();
}

void StatusItemScene::show() {
    item.show();
}

void StatusItemScene::render() {
    item.setContent({.symbol = label.iconName(), .text = label.text()});
    item.setMenu(content.menu());
}

} // namespace quillo
