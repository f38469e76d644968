#pragma once

#include "model/Timeline.h"

#include <Qt>

#include <cstdint>
#include <vector>

namespace quillo {

/// The columns of the ledger, in their order on screen.
enum class LedgerColumn { date, description, amount, runningBalance };

struct LedgerSortOrder {
    LedgerColumn column = LedgerColumn::date; ///< any but the description, which cannot be sorted
    Qt::SortOrder direction = Qt::DescendingOrder;

    [[nodiscard]] bool operator==(const LedgerSortOrder&) const = default;
};

/// The positions of all lines in that order. Dates are compared as text, amounts as numbers. Lines that
/// compare equal keep the backend's order, whatever the direction. The time grows with the number of lines
/// and no faster.
[[nodiscard]] std::vector<std::uint32_t> sortedLines(const std::vector<Transaction>& lines,
                                                     LedgerSortOrder order);

} // namespace quillo
