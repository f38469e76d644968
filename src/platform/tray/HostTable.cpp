#include "platform/tray/HostTable.h"

#include <QStringTokenizer>

#include <algorithm>
#include <array>
#include <utility>

namespace quillo {

namespace {

struct Row {
    QStringView executable;
    HostTraits traits;
};

using enum TextWay;
using enum OnActivate;
using enum OpeningSign;
using enum PanelLook;
using enum Underscores;

// Seen on the panels themselves; what the columns mean stands at the enumerations.
constexpr std::array rows{
    Row{u"gnome-shell", {label, requestMenu, openedEvent, ofDesktop, firstOnly}},
    Row{u"notification-area-applet", {label, requestMenu, any}},
    Row{u"ayatana-indicator-application-service", {label, requestMenu, any}},
    Row{u"waybar", {wideIcon, requestMenu, any, dark}},
    Row{u"gtk-sni-tray-standalone", {wideIcon, requestMenu, any, dark}},
    Row{u"taffybar", {wideIcon, requestMenu, any, dark}},
    Row{u"xapp-sn-watcher", {wideIcon, requestMenu, any, dark, all, 24, 2}},
    Row{u"wrapper-2.0", {dockedWindow, requestMenu, any}},
    Row{u"kded5", {square, refuse, any, ofPlasma}},
    Row{u"kded6", {square, refuse, any, ofPlasma}},
    Row{u"plasmashell", {square, refuse, any, ofPlasma}},
    Row{u"lxqt-panel", {square, requestMenu, any}},
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
    const auto* const row = std::ranges::find(rows, executable, &Row::executable);
    auto traits = row == rows.end() ? HostTraits{} : row->traits;
    if (traits.textWay == dockedWindow && windowSystem != WindowSystem::x11) {
        traits.textWay = square; // there is no tray for windows
    }
    return traits;
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

PanelLook lookOfTray(QStringView desktop) noexcept {
    return desktop.contains(u"Budgie") ? dark : ofDesktop;
}

} // namespace quillo
