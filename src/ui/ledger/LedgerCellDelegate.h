#pragma once

#include <QStyledItemDelegate>

namespace quillo {

/// Paints a cell of the ledger: its colour, its figures in digits of fixed width, its badge.
class LedgerCellDelegate final : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};

} // namespace quillo
