#pragma once

#include <QStringView>

namespace quillo {

/// How a panel gets to show the item's text.
enum class TextWay {
    label,        ///< as the label beside the icon (`XAyatanaLabel`)
    wideIcon,     ///< painted into a wide icon
    dockedWindow, ///< painted into a window docked in the panel's XEmbed tray
    square,       ///< in tool tip and title; an icon's square has room for a short text
};

/// What a panel is told that calls `Activate` although the item is only a menu.
enum class OnActivate {
    requestMenu, ///< nothing; the program shows its own menu
    refuse,      ///< an error, upon which the panel opens the menu itself
};

/// Which messages of a panel mean that the user opened the menu.
enum class OpeningSign {
    any,         ///< `AboutToShow`, `AboutToShowGroup` or the "opened" event on the root
    openedEvent, ///< only the event: this panel also sends `AboutToShow` with nobody opening anything
};

/// Which underscores of an entry's label a panel wants doubled, or it takes them for the mark of a mnemonic.
enum class Underscores { all, firstOnly };

/// Which colours a panel has while the user prefers neither light nor dark ones.
enum class PanelLook {
    ofDesktop, ///< those of other programs' windows
    dark,      ///< dark ones of its own
    ofPlasma,  ///< those of the theme for Plasma's panels, whatever the user prefers for windows
};

enum class WindowSystem { x11, other };

struct HostTraits {
    TextWay textWay = TextWay::label;
    OnActivate onActivate = OnActivate::requestMenu;
    OpeningSign openingSign = OpeningSign::any;
    PanelLook look = PanelLook::ofDesktop;
    Underscores doubled = Underscores::all;
    /// In which a wide icon is not blurred, in pixels, and how many times it; some panels scale the largest.
    int iconHeight = 22;
    int iconScales = 3;

    [[nodiscard]] friend bool operator==(const HostTraits&, const HostTraits&) = default;
};

/// What is known of the program that owns the name of the status notifier watcher. `executable` is the base
/// name of its file; one that is not known, or empty because it cannot be read, counts as a panel that shows
/// labels.
[[nodiscard]] HostTraits hostTraits(QStringView executable, WindowSystem windowSystem) noexcept;

/// The program that owns the watcher's name on a desktop with these names (`XDG_CURRENT_DESKTOP`), for where
/// it cannot be looked at; empty when that differs, or is not known.
[[nodiscard]] QStringView usualHost(QStringView desktopNames) noexcept;

/// The way while nobody owns the watcher's name: an XEmbed tray can still show a docked window.
[[nodiscard]] TextWay textWayWithoutWatcher(WindowSystem windowSystem) noexcept;

/// Of such a tray that does not tell the colour of its icons; `desktop` is `XDG_CURRENT_DESKTOP`.
[[nodiscard]] PanelLook lookOfTray(QStringView desktop) noexcept;

} // namespace quillo
