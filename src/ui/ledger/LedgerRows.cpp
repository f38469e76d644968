#include "ui/ledger/LedgerRows.h"

#include <utility>

namespace quillo {

LedgerRows LedgerRows::of(std::shared_ptr<const PreparedLedger> prepared, QString search,
                          LedgerSortOrder order) {
    LedgerRows rows{.prepared = std::move(prepared),
                    .search = std::move(search),
                    .order = order,
                    .lines = {},
                    .places = {}};
    rows.lines = rows.prepared->rows(rows.search, rows.order);
    rows.places.assign(rows.prepared->lines().size(), noLine);
    for (std::size_t row = 0; row < rows.lines.size(); ++row) {
        rows.places[rows.lines[row]] = static_cast<LinePosition>(row);
    }
    return rows;
}

} // namespace quillo
