#pragma once

#include <Qt>

namespace quillo {

/// The columns of the ledger, in their order on screen.
enum class LedgerColumn { date, description, amount, runningBalance };

/// Dates are compared as text, amounts as numbers. Lines that compare equal keep the backend's order,
/// whatever the direction.
struct LedgerSortOrder {
    LedgerColumn column = LedgerColumn::date; ///< any but the description, which cannot be sorted
    Qt::SortOrder direction = Qt::DescendingOrder;

    [[nodiscard]] bool operator==(const LedgerSortOrder&) const = default;
};

} // namespace quillo
