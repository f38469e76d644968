#pragma once

#include "ui/ledger/PreparedLedger.h"

namespace quillo {

/// Which lines of a ledger a table shows, and in which order: an immutable value that owns what it shows.
struct LedgerRows {
    std::shared_ptr<const PreparedLedger> prepared = std::make_shared<const PreparedLedger>();
    QString search = {};
    LedgerSortOrder order = {};
    std::vector<LinePosition> lines = {};  ///< of each row
    std::vector<LinePosition> places = {}; ///< the row of each line; `noLine` for one that is not shown

    [[nodiscard]] static LedgerRows of(std::shared_ptr<const PreparedLedger> prepared, QString search,
                                       LedgerSortOrder order);

    [[nodiscard]] int count() const noexcept { return static_cast<int>(lines.size()); }

    /// `row` is one of `count()`.
    [[nodiscard]] const Transaction& operator[](int row) const {
        return prepared->lines()[lines[static_cast<std::size_t>(row)]];
    }

    /// The row of a line; -1 when it is not shown.
    [[nodiscard]] int rowOf(LinePosition line) const noexcept {
        return line < places.size() ? static_cast<int>(places[line]) : -1;
    }
};

} // namespace quillo
