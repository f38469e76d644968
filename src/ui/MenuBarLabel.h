#pragma once

#include "store/AppState.h"

#include <QString>

namespace quillo {

/// What the user sees in the panel at all times: a symbol, and the amount owed or the name of a problem. The
/// live ledger counts, whatever day the ledger window shows.
struct MenuBarLabel {
    QString iconName; ///< a symbol, such as "creditcard"
    QString text;
    QString shortText = {}; ///< in the normal state the amount, short enough for an icon; else empty: the
                            ///< symbol speaks

    [[nodiscard]] static MenuBarLabel of(const AppState& state);

    /// A number for display, by the rules of the user's locale, without a currency sign: callers put "$" in
    /// front, also of a minus sign.
    [[nodiscard]] static QString fmt(double value, int decimals);

    /// From this amount on, in dollars, pending authorisations are worth telling apart.
    static constexpr double leastPending = 0.01;
};

} // namespace quillo
