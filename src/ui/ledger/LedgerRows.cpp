#include "ui/ledger/LedgerRows.h"

namespace quillo {

void LedgerRows::setLedger(const Timeline* next) {
    ledger = next;
    search.setLedger(next);
    sort();
}

void LedgerRows::setSearch(const QString& text) {
    search.setText(text);
    shown = search.passing(sorted);
}

void LedgerRows::setSortOrder(LedgerSortOrder next) {
    order = next;
    sort();
}

void LedgerRows::sort() {
    sorted = ledger ? sortedLines(ledger->transactions, order) : std::vector<std::uint32_t>();
    shown = search.passing(sorted);
}

} // namespace quillo
