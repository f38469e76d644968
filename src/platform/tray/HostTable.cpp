#include "platform/tray/HostTable.h"

#include <QStringTokenizer>

#include <array>
#include <utility>

namespace quillo {

namespace {

struct Row {
    QStringView executable;
    HostTraits onX11;
    HostTraits elsewhere;
};

constexpr Row same(QStringView executable, HostTraits traits) {
    return {executable, traits, traits};
}

using enum TextWay;
using enum OnActivate;
using enum OpeningSign;
using enum PanelLook;

// Seen on the panels themselves; what the columns mean stands at the enumerations.
constexpr std::array rows{
    same(u"gnome-shell", {label, requestMenu, openedEvent}),
    same(u"notification-area-applet", {label, requestMenu, any}),
    same(u"ayatana-indicator-application-service", {label, requestMenu, any}),
    same(u"waybar", {wideIcon, requestMenu, any, dark}),
    same(u"gtk-sni-tray-standalone", {wideIcon, requestMenu, any, dark}),
    same(u"taffybar", {wideIcon, requestMenu, any, dark}),
    Row{u"wrapper-2.0", {dockedWindow, requestMenu, any}, {square, requestMenu, any}},
    same(u"kded5", {square, refuse, any}),
    same(u"kded6", {square, refuse, any}),
    same(u"plasmashell", {square, refuse, any}),
    same(u"lxqt-panel", {square, requestMenu, any}),
};

constexpr std::array usualHosts{
    std::pair{QStringView(u"GNOME"), QStringView(u"gnome-shell")},
    std::pair{QStringView(u"KDE"), QStringView(u"kded5")},
    std::pair{QStringView(u"LXQt"), QStringView(u"lxqt-panel")},
    std::pair{QStringView(u"MATE"), QStringView(u"notification-area-applet")},
    std::pair{QStringView(u"XFCE"), QStringView(u"wrapper-2.0")},
    std::pair{QStringView(u"sway"), QStringView(u"waybar")},
};

} // namespace

HostTraits hostTraits(QStringView executable, WindowSystem windowSystem) noexcept {
    for (const auto& row : rows) {
        if (row.executable == executable) {
            return windowSystem == WindowSystem::x11 ? row.onX11 : row.elsewhere;
        }
    }
    return {};
}

QStringView usualHost(QStringView desktopNames) noexcept {
    for (const auto name : desktopNames.tokenize(u':')) {
        for (const auto& [desktop, host] : usualHosts) {
            if (name == desktop) {
                return host;
            }
        }
    }
    return {};
}

TextWay textWayWithoutWatcher(WindowSystem windowSystem) noexcept {
    return windowSystem == WindowSystem::x11 ? dockedWindow : label;
}

} // namespace quillo
