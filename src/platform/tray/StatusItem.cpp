#include "platform/tray/StatusItem.h"

#include "core/PlainText.h"
#include "platform/symbols/IconFolder.h"
#include "platform/tray/DBusMenu.h"
#include "platform/tray/DockedItem.h"
#include "platform/tray/HostRegistration.h"
#include "platform/tray/PanelStyle.h"
#include "platform/tray/StatusNotifierItem.h"

#include <QGuiApplication>
#include <QRegularExpression>

#include <chrono>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

WindowSystem currentWindowSystem() {
    return QGuiApplication::platformName() == u"xcb" ? WindowSystem::x11 : WindowSystem::other;
}

// A panel's tray for windows starts with its watcher, or a moment later.
constexpr std::chrono::seconds longestTrayWait{3};

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
    connect(registration.get(), &HostRegistration::watcherLost, this, &StatusItem::serveNobody);
    trayWait.setSingleShot(true);
    trayWait.setInterval(longestTrayWait);
    connect(&trayWait, &QTimer::timeout, this, &StatusItem::registerAsSquare);
}

StatusItem::~StatusItem() = default;

void StatusItem::setFace(const ItemFace& next) {
    if (next != face) {
        face = next;
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
    return registration->isRegistered() || (docked && docked->state() == DockedItem::State::docked);
}

void StatusItem::serve(const HostTraits& traits) {
    host = traits;
    item->setOnActivate(traits.onActivate);
    menu->setHost(traits);
    setWay(traits.textWay, traits.look);
    if (way == TextWay::dockedWindow) {
        trayWait.start();
        takePlaceInTray();
    } else {
        registration->registerItem();
    }
}

void StatusItem::serveNobody() {
    host.reset();
    setWay(textWayWithoutWatcher(currentWindowSystem()), PanelLook::ofDesktop);
    if (way == TextWay::dockedWindow) {
        takePlaceInTray();
    }
}

/// Ends what another way has made, before anything of the next can be seen.
void StatusItem::setWay(TextWay next, PanelLook look) {
    way = next;
    trayWait.stop();
    if (docked) {
        docked->disconnect(this);
        docked.release()->deleteLater(); // it may be what calls
    }
    paint.reset();
    if (way == TextWay::wideIcon || way == TextWay::square) {
        paint = std::make_unique<PanelStyle>(connection, look);
        connect(paint.get(), &PanelStyle::changed, this, &StatusItem::render);
    }
    render();
}

void StatusItem::takePlaceInTray() {
    docked = std::make_unique<DockedItem>();
    connect(docked.get(), &DockedItem::stateChanged, this, &StatusItem::onDockingChanged);
    connect(docked.get(), &DockedItem::pressed, this, &StatusItem::menuRequested);
    connect(docked.get(), &DockedItem::pointerRested, this,
            [this](const QPoint& position) { Q_EMIT toolTipRequested(position, toolTipLine(face.text)); });
}

void StatusItem::onDockingChanged() {
    switch (docked->state()) {
    case DockedItem::State::docking:
        trayWait.stop();
        paint =
            std::make_unique<PanelStyle>(connection, lookOfTray(qEnvironmentVariable("XDG_CURRENT_DESKTOP")));
        connect(paint.get(), &PanelStyle::changed, this, &StatusItem::render);
        render();
        break;
    case DockedItem::State::docked:
        break;
    case DockedItem::State::noTray:
        paint.reset();
        if (host) {
            trayWait.start();
        }
        break;
    case DockedItem::State::refused:
        paint.reset();
        if (host) {
            registerAsSquare();
        }
        break;
    }
}

/// What such a panel shows of an item when it has no place for a window.
void StatusItem::registerAsSquare() {
    setWay(TextWay::square, host->look);
    registration->registerItem();
}

void StatusItem::render() {
    const ItemFace shown{face.symbol, plainLine(face.text), plainLine(face.shortText)};
    StatusNotifierItem::Appearance appearance;
    appearance.toolTip = toolTipLine(face.text);
    appearance.title = u"Quillo"_s;
    switch (way) {
    case TextWay::square:
        appearance.title = shown.text;
        appearance.iconPixmaps = squareIcons(shown, paint->style());
        break;
    case TextWay::wideIcon:
        appearance.iconPixmaps = wideIcons(shown, paint->style(), host->iconHeight, host->iconScales);
        break;
    case TextWay::dockedWindow:
        if (docked && paint) {
            docked->setFace(shown, paint->style());
        }
        [[fallthrough]]; // the item is on no panel
    case TextWay::label:
        appearance.iconName = symbolIconName(face.symbol);
        appearance.label = shown.text;
        // The widest text to be expected here: panels reserve its width, so that their other items do not
        // move with every change.
        appearance.labelGuide = QString(shown.text).replace(QRegularExpression(u"\\p{Nd}"_s), u"8"_s);
        break;
    }
    item->setAppearance(appearance);
}

} // namespace quillo
