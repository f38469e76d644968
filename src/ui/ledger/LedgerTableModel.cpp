#include "ui/ledger/LedgerTableModel.h"

#include "core/PlainText.h"
#include "ui/NumberFormat.h"

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

/// By column.
const QStringList titles{u"Date"_s, u"Merchant / description"_s, u"Amount"_s, u"Running balance"_s};

QString badge(const Transaction& line, LedgerColumn column) {
    if (column != LedgerColumn::description) {
        return {};
    }
    return line.isSynthetic() ? u"NOT POSTED"_s : line.isPending() ? u"PENDING"_s : QString();
}

int alignment(LedgerColumn column) {
    const bool isNumber = column == LedgerColumn::amount || column == LedgerColumn::runningBalance;
    return static_cast<int>((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
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
    return parent.isValid() ? 0 : static_cast<int>(titles.size());
}

QVariant LedgerTableModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const auto& line = (*shown)[index.row()];
    const auto column = static_cast<LedgerColumn>(index.column());
    switch (role) {
    case Qt::DisplayRole:
        return text(line, column);
    case Qt::TextAlignmentRole:
        return alignment(column);
    case Qt::AccessibleTextRole: {
        const auto state = badge(line, column);
        return state.isEmpty() ? text(line, column) : text(line, column) + u", "_s + state;
    }
    case badgeRole:
        return badge(line, column);
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
        return line.amount >= 0 ? Tone::red : Tone::green;
    }
    return column == LedgerColumn::description && line.isSynthetic() ? Tone::red : Tone::normal;
}

QVariant LedgerTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) {
        return {};
    }
    if (role == Qt::TextAlignmentRole) {
        return alignment(static_cast<LedgerColumn>(section));
    }
    return role == Qt::DisplayRole ? titles.value(section) : QVariant();
}

} // namespace quillo
