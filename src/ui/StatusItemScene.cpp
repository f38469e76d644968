#include "ui/StatusItemScene.h"

#include "platform/desktop/ActivationToken.h"
#include "platform/desktop/NotificationCenter.h"
#include "store/AppStore.h"
#include "ui/MenuBarLabel.h"
#include "ui/MenuRenderer.h"

#include <QCursor>
#include <QGuiApplication>
#include <QToolTip>

namespace quillo {

StatusItemScene::StatusItemScene(const QDBusConnection& connection, AppStore& shownStore,
                                 NotificationCenter& notifications, MenuActions whatToDo)
    : store(shownStore),
      actions(std::move(whatToDo)),
      ledgerRequests(notifications.observe(notification::openLedgerRequested, actions.openLedger)),
      item(connection),
      updates(store, [this](const AppState& state) { render(state); }) {
    QObject::connect(&item, &StatusItem::menuBeganTracking, &item,
                     [&notifications] { notifications.post(notification::menuDidBeginTracking); });
    QObject::connect(&item, &StatusItem::menuRequested, &item, [this] { openMenu(); });
    QObject::connect(&item, &StatusItem::toolTipRequested, &item,
                     [](const QPoint& position, const QString& text) { QToolTip::showText(position, text); });
    QObject::connect(&item, &StatusItem::activationTokenReceived, &item, &ActivationToken::offer);
    item.show();
}

StatusItemScene::~StatusItemScene() = default;

void StatusItemScene::render(const AppState& state) {
    const auto label = MenuBarLabel::of(state);
    item.setFace({.symbol = label.iconName, .text = label.text, .shortText = label.shortText});
    item.setMenu(menuBarContent(state, actions));
    if (menu && menu->isVisible()) {
        menu->setMenu(menuBarContent(state, actions));
    }
}

void StatusItemScene::openMenu() {
    // A Wayland compositor places a menu only beside a window of its program.
    if (QGuiApplication::platformName().startsWith(u"wayland")) {
        actions.openLedger();
        return;
    }
    if (!menu) {
        menu = std::make_unique<MenuRenderer>();
    }
    menu->setMenu(menuBarContent(store.state(), actions));
    menu->popup(QCursor::pos());
}

} // namespace quillo
