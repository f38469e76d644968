#pragma once

#include "core/Signal.h"

#include <QString>

#include <functional>

namespace quillo {

class AppStore;
class NotificationCenter;

/// What the user sees in the panel at all times: a symbol, and the amount owed or the name of a problem.
/// Computed from the store on each read; it always shows the live ledger, whatever day the ledger window
/// shows.
///
/// It lives as long as the application and so is where the request to open the ledger is observed.
class MenuBarLabel {
public:
    /// Takes the store from the environment. `openLedger` activates the application and brings the ledger
    /// window forward; it is called for each "quillo.openLedgerRequested".
    MenuBarLabel(NotificationCenter& notifications, std::function<void()> openLedger);

    /// The symbol's name, such as "creditcard".
    [[nodiscard]] QString iconName() const;

    [[nodiscard]] QString text() const;

    /// In the normal state the amount owed, short enough for an icon; empty in every other state, for which
    /// the symbol speaks.
    [[nodiscard]] QString shortText() const;

    /// A number for display, by the rules of the user's locale, without a currency sign: callers put "$" in
    /// front, also of a minus sign.
    [[nodiscard]] static QString fmt(double value, int decimals);

    /// From this amount on, in dollars, pending authorisations are worth telling apart.
    static constexpr double leastPending = 0.01;

private:
    AppStore& store;
    Observation ledgerRequests;
};

} // namespace quillo
