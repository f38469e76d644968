#include "ui/ledger/LedgerTableModel.h"

#include "core/PlainText.h"
#include "ui/NumberFormat.h"

namespace quillo {

namespace {

constexpr int columns = 4;

LedgerTableModel::Badge badgeOf(const Transaction& line) {
    using Badge = LedgerTableModel::Badge;
    return line.isSynthetic() ? Badge::notPosted : line.isPending() ? Badge::pending : Badge::none;
}

} // namespace

LedgerTableModel::LedgerTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void LedgerTableModel::setLedger(const Timeline* next) {
    beginResetModel();
    ledger = next;
    rows.setLedger(next);
    endResetModel();
}

void LedgerTableModel::setSearch(const QString& search) {
    beginResetModel();
    rows.setSearch(search);
    endResetModel();
}

void LedgerTableModel::sort(int column, Qt::SortOrder direction) {
    const LedgerSortOrder order{.column = static_cast<LedgerColumn>(column), .direction = direction};
    if (column < 0 || order.column == LedgerColumn::description || order == rows.sortOrder()) {
        return;
    }
    beginResetModel();
    rows.setSortOrder(order);
    endResetModel();
}

int LedgerTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows.rows().size());
}

int LedgerTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns;
}

const Transaction* LedgerTableModel::line(int row) const {
    const auto& shown = rows.rows();
    if (!ledger || row < 0 || static_cast<std::size_t>(row) >= shown.size()) {
        return nullptr;
    }
    return &ledger->transactions[shown[static_cast<std::size_t>(row)]];
}

QVariant LedgerTableModel::data(const QModelIndex& index, int role) const {
    const auto* shown = line(index.row());
    if (!shown) {
        return {};
    }
    const auto column = static_cast<LedgerColumn>(index.column());
    const bool isNumber = column == LedgerColumn::amount || column == LedgerColumn::runningBalance;
    switch (role) {
    case Qt::DisplayRole:
        return text(*shown, column);
    case Qt::TextAlignmentRole:
        return static_cast<int>((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    case Qt::AccessibleTextRole: {
        auto spoken = text(*shown, column);
        if (column == LedgerColumn::description && badgeOf(*shown) != Badge::none) {
            spoken +=
                QStringLiteral(", ") + (badgeOf(*shown) == Badge::notPosted ? QStringLiteral("NOT POSTED")
                                                                            : QStringLiteral("PENDING"));
        }
        return spoken;
    }
    case badgeRole:
        return static_cast<int>(column == LedgerColumn::description ? badgeOf(*shown) : Badge::none);
    case toneRole:
        return static_cast<int>(tone(*shown, column));
    default:
        return {};
    }
}

QString LedgerTableModel::text(const Transaction& line, LedgerColumn column) {
    switch (column) {
    case LedgerColumn::date:
        return plainLine(line.date);
    case LedgerColumn::description:
        return plainLine(line.display());
    case LedgerColumn::amount:
        // Adding a plain zero takes the sign from a negative one.
        return NumberFormat::dollars(line.amount + 0.0, 2, NumberFormat::Sign::always);
    case LedgerColumn::runningBalance:
        return NumberFormat::dollars(line.runningBalance + 0.0, 2);
    }
    return {};
}

LedgerTableModel::Tone LedgerTableModel::tone(const Transaction& line, LedgerColumn column) {
    if (column == LedgerColumn::amount) {
        return line.amount >= 0 ? Tone::charge : Tone::credit;
    }
    return column == LedgerColumn::description && line.isSynthetic() ? Tone::alert : Tone::normal;
}

QVariant LedgerTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) {
        return {};
    }
    const auto column = static_cast<LedgerColumn>(section);
    if (role == Qt::TextAlignmentRole) {
        const bool isNumber = column == LedgerColumn::amount || column == LedgerColumn::runningBalance;
        return static_cast<int>((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    if (role != Qt::DisplayRole) {
        return {};
    }
    switch (column) {
    case LedgerColumn::date:
        return QStringLiteral("Date");
    case LedgerColumn::description:
        return QStringLiteral("Merchant / description");
    case LedgerColumn::amount:
        return QStringLiteral("Amount");
    case LedgerColumn::runningBalance:
        return QStringLiteral("Running balance");
    }
    return {};
}

} // namespace quillo
