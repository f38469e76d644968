#pragma once

#include "platform/tray/MenuEntry.h"
#include "store/AppState.h"

#include <functional>

namespace quillo {

/// What the user can have done from a menu. Everything returns at once.
struct MenuActions {
    std::function<void()> openLedger; ///< activates the application and brings the ledger window forward
    std::function<void()> refresh;
    std::function<void()> pullUpdates; ///< from the aggregator's cache
    std::function<void()> pullFromBank;
    std::function<void()> openLinkPage;             ///< the page on which cards are linked, in the browser
    std::function<void()> openReconnect;            ///< the page on which links are mended
    std::function<void(qint64)> setRefreshInterval; ///< in seconds
    std::function<void()> openHelp;                 ///< the help page in the browser
    std::function<void()> openSettings;
    std::function<void()> signIn;
    std::function<void()> signOut;
    std::function<void()> quit; ///< ends the application
};

/// The status item's menu: the sign-in and bank-link conditions, the balance, the recent lines, and every
/// action the user has. The same value for every renderer.
[[nodiscard]] Menu menuBarContent(const AppState& state, const MenuActions& actions);

} // namespace quillo
