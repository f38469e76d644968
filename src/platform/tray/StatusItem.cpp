#include "platform/tray/StatusItem.h"

#include "platform/tray/DBusMenu.h"
#include "platform/tray/HostRegistration.h"
#include "platform/tray/IconFolder.h"
#include "platform/tray/PaintedIcon.h"
#include "platform/tray/PanelStyle.h"
#include "platform/tray/PlainText.h"
#include "platform/tray/StatusNotifierItem.h"

#include <QGuiApplication>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

WindowSystem currentWindowSystem() {
    return QGuiApplication::platformName() == u"xcb" ? WindowSystem::x11 : WindowSystem::other;
}

QString withWidestDigits(QString text) {
    for (auto& character : text) {
        if (character.isDigit()) {
            character = u'8';
        }
    }
    return text;
}

} // namespace

StatusItem::StatusItem(const QDBusConnection& bus, QObject* parent)
    : QObject(parent),
      connection(bus),
      item(std::make_unique<StatusNotifierItem>(iconThemePath())),
      menu(std::make_unique<DBusMenu>()),
      registration(std::make_unique<HostRegistration>(bus)),
      way(textWayWithoutWatcher(currentWindowSystem())) {
    connect(menu.get(), &DBusMenu::beganTracking, this, &StatusItem::menuBeganTracking);
    connect(item.get(), &StatusNotifierItem::menuRequested, this, &StatusItem::menuRequested);
    connect(item.get(), &StatusNotifierItem::activationTokenReceived, this,
            &StatusItem::activationTokenReceived);
    connect(registration.get(), &HostRegistration::watcherFound, this,
            [this](const QString& executable) { serve(hostTraits(executable, currentWindowSystem())); });
    connect(registration.get(), &HostRegistration::watcherLost, this, [this] {
        const auto before = std::exchange(way, textWayWithoutWatcher(currentWindowSystem()));
        paint.reset();
        render();
        if (before != way || std::exchange(served, false)) {
            Q_EMIT panelChanged();
        }
    });
    connect(registration.get(), &HostRegistration::registered, this, &StatusItem::panelChanged);
}

StatusItem::~StatusItem() = default;

void StatusItem::setContent(const StatusItemContent& next) {
    if (next != content) {
        content = next;
        render();
    }
}

void StatusItem::setMenu(Menu next) {
    menu->setMenu(std::move(next));
}

void StatusItem::show() {
    if (menu->exportOn(connection) && item->exportOn(connection)) {
        registration->start();
    }
}

bool StatusItem::isOnPanel() const noexcept {
    return registration->isRegistered();
}

void StatusItem::serve(const HostTraits& traits) {
    item->setOnActivate(traits.onActivate);
    menu->setOpeningSign(traits.openingSign);
    way = traits.textWay;
    served = true;
    if (way == TextWay::label) {
        paint.reset();
    } else {
        usePaint(traits.look);
    }
    render();
    registration->registerItem();
    Q_EMIT panelChanged();
}

void StatusItem::usePaint(PanelLook look) {
    paint = std::make_unique<PanelStyle>(connection, look);
    connect(paint.get(), &PanelStyle::changed, this, &StatusItem::render);
}

void StatusItem::render() {
    const auto text = plainLine(content.text);
    const PaintedFace face{content.symbol, text, plainLine(content.shortText)};
    StatusNotifierItem::Appearance appearance;
    appearance.toolTip = toolTipLine(content.text);
    appearance.title = u"Quillo"_s;
    switch (way) {
    case TextWay::square:
        appearance.title = text;
        appearance.iconPixmaps = squareIcons(face, paint->style());
        break;
    case TextWay::wideIcon:
        appearance.iconPixmaps = wideIcons(face, paint->style());
        break;
    case TextWay::dockedWindow:
    case TextWay::label:
        appearance.iconName = symbolIconName(content.symbol);
        appearance.label = text;
        appearance.labelGuide = content.guide.isEmpty() ? withWidestDigits(text) : plainLine(content.guide);
        break;
    }
    item->setAppearance(std::move(appearance));
}

} // namespace quillo
