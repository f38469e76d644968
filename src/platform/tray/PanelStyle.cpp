#include "platform/tray/PanelStyle.h"

#include "platform/desktop/UntilAnswered.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QSettings>
#include <QStandardPaths>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

// https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Settings.html
const QString portalService = u"org.freedesktop.portal.Desktop"_s;
const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
const QString settingsInterface = u"org.freedesktop.portal.Settings"_s;
const QString appearanceGroup = u"org.freedesktop.appearance"_s;
const QString colourSchemeKey = u"color-scheme"_s;

// As the common light and dark themes write on their panels.
constexpr QColor darkInk(0x2e, 0x34, 0x36);
constexpr QColor lightInk(0xf2, 0xf2, 0xf2);

/// Invalid where the theme has no colours of its own, and Plasma's panel those of windows.
QColor plasmaInk() {
    using enum QStandardPaths::StandardLocation;
    const QSettings panel(QStandardPaths::locate(GenericConfigLocation, u"plasmarc"_s), QSettings::IniFormat);
    const auto theme = panel.value(u"Theme/name"_s, u"default"_s).toString();
    const auto file = u"plasma/desktoptheme/%1/colors"_s.arg(theme);
    const QSettings colours(QStandardPaths::locate(GenericDataLocation, file), QSettings::IniFormat);
    const auto ink = colours.value(u"Colors:Window/ForegroundNormal"_s).toStringList();
    return ink.size() < 3 ? QColor() : QColor(ink[0].toInt(), ink[1].toInt(), ink[2].toInt());
}

} // namespace

PanelStyle::PanelStyle(const QDBusConnection& connection, PanelLook panelLook)
    : bus(connection), look(panelLook), announced(style()), asking(ask()) {
    bus.connect(portalService, portalPath, settingsInterface, u"SettingChanged"_s,
                {appearanceGroup, colourSchemeKey}, u"ssv"_s, this,
                SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    qApp->installEventFilter(this);
}

PaintStyle PanelStyle::style() const {
    bool dark =
        look == PanelLook::dark || QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
    if (preference != Preference::none) {
        dark = preference == Preference::dark;
    }
    const auto ofTheme = look == PanelLook::ofPlasma ? plasmaInk() : QColor();
    return {QGuiApplication::font(), ofTheme.isValid() ? ofTheme : dark ? lightInk : darkInk};
}

// `Read` is deprecated for `ReadOne`, which portals before 1.17 do not know; it wraps the value twice.
Task<> PanelStyle::ask() {
    auto message = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, u"Read"_s);
    message << appearanceGroup << colourSchemeKey;
    const QDBusPendingReply<QDBusVariant> reply = bus.asyncCall(message);
    UntilAnswered answered(reply);
    co_await answered;
    if (reply.isValid()) {
        prefer(reply.value().variant());
    }
}

void PanelStyle::onSettingChanged(const QString&, const QString&, const QDBusVariant& value) {
    asking.cancel(); // its answer may have come before this and be taken up after it
    prefer(value.variant());
}

void PanelStyle::prefer(const QVariant& value) {
    auto plain = value;
    while (plain.metaType() == QMetaType::fromType<QDBusVariant>()) {
        plain = plain.value<QDBusVariant>().variant();
    }
    // Values to come are to be taken for no preference.
    const auto number = plain.toUInt();
    preference = number <= static_cast<uint>(Preference::light) ? Preference{number} : Preference::none;
    announceIfChanged();
}

bool PanelStyle::eventFilter(QObject* watched, QEvent* event) {
    if (watched == qApp && (event->type() == QEvent::ApplicationFontChange ||
                            event->type() == QEvent::ApplicationPaletteChange)) {
        announceIfChanged();
    }
    return QObject::eventFilter(watched, event);
}

void PanelStyle::announceIfChanged() {
    if (const auto now = style(); now != announced) {
        announced = now;
        Q_EMIT changed();
    }
}

} // namespace quillo
