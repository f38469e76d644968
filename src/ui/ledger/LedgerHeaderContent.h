#pragma once

#include "store/AppState.h"

#include <QString>

#include <optional>

namespace quillo {

/// A row on a tinted background: a symbol, a headline, a line under it, a button. Texts are plain.
struct BannerContent {
    enum class Tone { neutral, orange, red };

    QString symbol;
    QString headline = {}; ///< in headline style; empty for a row with a subtitle only
    std::optional<QString> subtitle = {};
    QString buttonTitle = {}; ///< empty for no button
    Tone tone = Tone::neutral;

    [[nodiscard]] bool operator==(const BannerContent&) const = default;
};

/// The figures of a ledger, as they are written.
struct LedgerTotals {
    QString caption;
    QString posted;
    QString pending; ///< empty, as `total` is, when nothing worth telling apart is pending
    QString total;
    QString available;
    QString asOf;

    [[nodiscard]] bool hasPending() const noexcept { return !pending.isEmpty(); }

    [[nodiscard]] bool operator==(const LedgerTotals&) const = default;
};

/// The top of the ledger window: what is wrong or unusual, the totals, or why there are none.
struct LedgerHeaderContent {
    std::optional<BannerContent> snapshot; ///< a past day is looked at
    std::optional<BannerContent> link;     ///< a bank link asks for attention
    std::optional<LedgerTotals> totals;
    std::optional<BannerContent> error; ///< in the place of the totals
    bool isWaiting = false;             ///< for a first ledger

    [[nodiscard]] static LedgerHeaderContent of(const AppState& state);

    [[nodiscard]] bool operator==(const LedgerHeaderContent&) const = default;
};

} // namespace quillo
