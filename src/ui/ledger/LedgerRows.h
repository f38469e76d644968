#pragma once

#include "model/Timeline.h"
#include "ui/ledger/LedgerOrder.h"
#include "ui/ledger/LedgerSearch.h"

#include <QString>

#include <cstdint>
#include <vector>

namespace quillo {

/// Which lines of a ledger are shown, and in which order: an index over the ledger, which itself is neither
/// copied nor changed.
///
/// The order of all lines is kept, and so is what the search found, so that a keystroke costs one search and
/// one pass over the index, and another order costs no search.
class LedgerRows {
public:
    /// Takes up another ledger, or none; search and order stay. The ledger must outlive its use here.
    void setLedger(const Timeline* ledger);

    /// Shows only lines that hold the text (see `LedgerSearch`).
    void setSearch(const QString& text);

    void setSortOrder(LedgerSortOrder order);

    [[nodiscard]] LedgerSortOrder sortOrder() const noexcept { return order; }

    /// Positions in the ledger's list, in the order of the screen.
    [[nodiscard]] const std::vector<std::uint32_t>& rows() const noexcept { return shown; }

private:
    void sort();

    const Timeline* ledger = nullptr;
    LedgerSortOrder order;
    LedgerSearch search;
    std::vector<std::uint32_t> sorted;
    std::vector<std::uint32_t> shown;
};

} // namespace quillo
