#pragma once

#include "platform/tray/MenuEntry.h"

#include <functional>

namespace quillo {

class AppStore;

/// What the menu does beyond the store: the application's own surfaces.
struct MenuActions {
    std::function<void()> openLedger;   ///< activates the application and brings the ledger window forward
    std::function<void()> openHelp;     ///< opens the help page in the browser
    std::function<void()> openSettings; ///< opens the settings window
    std::function<void()> quit;         ///< ends the application
};

/// The status item's menu: the sign-in and bank-link conditions, the balance, the recent lines, and every
/// action the user has. Computed from the store on each read; every renderer shows the same values.
class MenuBarContent {
public:
    /// Takes the store from the environment.
    explicit MenuBarContent(MenuActions actions);

    [[nodiscard]] Menu menu() const;

private:
    void addSignInCondition(Menu& menu) const;
    void addBankLink(Menu& menu) const;
    void addBalance(Menu& menu) const;
    void addError(Menu& menu) const;
    void addActions(Menu& menu) const;
    void addAccount(Menu& menu) const;
    [[nodiscard]] Menu recentTransactions() const;
    [[nodiscard]] Menu intervals() const;

    AppStore& store;
    MenuActions actions;
};

} // namespace quillo
