#include "ui/ledger/SnapshotList.h"

#include "core/PlainText.h"
#include "ui/NumberFormat.h"

#include <algorithm>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

QString label(const SnapshotSummary& snapshot) {
    const auto total = snapshot.totalWithPending.value_or(snapshot.totalOwed.value_or(0));
    return plainLine(snapshot.snapshotDate) + u" · "_s + NumberFormat::dollars(total, 0);
}

} // namespace

void SnapshotList::setDays(Days days) {
    beginResetModel();
    listed = std::move(days);
    endResetModel();
}

std::optional<QString> SnapshotList::date(int entry) const {
    if (entry < 1 || entry >= rowCount()) {
        return std::nullopt;
    }
    return (*listed)[static_cast<std::size_t>(entry - 1)].snapshotDate;
}

int SnapshotList::entryOf(const std::optional<QString>& date) const {
    if (!date) {
        return 0;
    }
    const auto found = std::ranges::find(*listed, *date, &SnapshotSummary::snapshotDate);
    return found == listed->end() ? -1 : static_cast<int>(found - listed->begin()) + 1;
}

int SnapshotList::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(listed->size()) + 1;
}

QVariant SnapshotList::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    return index.row() == 0 ? u"Live"_s : label((*listed)[static_cast<std::size_t>(index.row() - 1)]);
}

} // namespace quillo
