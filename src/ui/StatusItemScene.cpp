#include "ui/StatusItemScene.h"

#include "platform/desktop/ActivationToken.h"
#include "platform/desktop/NotificationCenter.h"
#include "ui/Environment.h"
#include "ui/MenuRenderer.h"

#include <QCursor>
#include <QGuiApplication>
#include <QToolTip>

namespace quillo {

StatusItemScene::StatusItemScene(const QDBusConnection& connection, NotificationCenter& center,
                                 MenuActions actions)
    : notifications(center),
      openLedger(actions.openLedger),
      label(center, actions.openLedger),
      content(std::move(actions)),
      item(connection),
      updates(Environment::store(), [this] { render(); }) {
    QObject::connect(&item, &StatusItem::menuBeganTracking, &item,
                     [this] { notifications.post(notification::menuDidBeginTracking); });
    QObject::connect(&item, &StatusItem::menuRequested, &item, [this] { openMenu(); });
    QObject::connect(&item, &StatusItem::toolTipRequested, &item,
                     [](const QPoint& position, const QString& text) { QToolTip::showText(position, text); });
    QObject::connect(&item, &StatusItem::activationTokenReceived, &item, &ActivationToken::offer);
    render();
}

StatusItemScene::~StatusItemScene() = default;

void StatusItemScene::show() {
    item.show();
}

void StatusItemScene::render() {
    item.setContent({.symbol = label.iconName(), .text = label.text(), .shortText = label.shortText()});
    item.setMenu(content.menu());
    if (menu && menu->isVisible()) {
        menu->setMenu(content.menu());
    }
}

void StatusItemScene::openMenu() {
    // A Wayland compositor places a menu only beside a window of its program.
    if (QGuiApplication::platformName().startsWith(u"wayland")) {
        openLedger();
        return;
    }
    if (!menu) {
        menu = std::make_unique<MenuRenderer>();
        QObject::connect(menu.get(), &QMenu::aboutToShow, &item,
                         [this] { notifications.post(notification::menuDidBeginTracking); });
    }
    menu->setMenu(content.menu());
    menu->popup(QCursor::pos());
}

} // namespace quillo
