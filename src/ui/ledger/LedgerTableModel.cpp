#include "ui/ledger/LedgerTableModel.h"

#include "core/PlainText.h"
#include "ui/NumberFormat.h"

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int columns = 4;

LedgerTableModel::Badge badgeOf(const Transaction& line) {
    using Badge = LedgerTableModel::Badge;
    return line.isSynthetic() ? Badge::notPosted : line.isPending() ? Badge::pending : Badge::none;
}

} // namespace

LedgerTableModel::LedgerTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void LedgerTableModel::setRows(std::shared_ptr<const LedgerRows> next) {
    beginResetModel();
    shown = std::move(next);
    endResetModel();
}

int LedgerTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : shown->count();
}

int LedgerTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns;
}

QVariant LedgerTableModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const auto& line = (*shown)[index.row()];
    const auto column = static_cast<LedgerColumn>(index.column());
    const bool isNumber = column == LedgerColumn::amount || column == LedgerColumn::runningBalance;
    switch (role) {
    case Qt::DisplayRole:
        return text(line, column);
    case Qt::TextAlignmentRole:
        return static_cast<int>((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    case Qt::AccessibleTextRole: {
        auto spoken = text(line, column);
        if (column == LedgerColumn::description && badgeOf(line) != Badge::none) {
            spoken += u", "_s + (badgeOf(line) == Badge::notPosted ? u"NOT POSTED"_s : u"PENDING"_s);
        }
        return spoken;
    }
    case badgeRole:
        return static_cast<int>(column == LedgerColumn::description ? badgeOf(line) : Badge::none);
    case toneRole:
        return static_cast<int>(tone(line, column));
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
        return u"Date"_s;
    case LedgerColumn::description:
        return u"Merchant / description"_s;
    case LedgerColumn::amount:
        return u"Amount"_s;
    case LedgerColumn::runningBalance:
        return u"Running balance"_s;
    }
    return {};
}

} // namespace quillo
