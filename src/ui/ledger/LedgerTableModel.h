#pragma once

#include "ui/ledger/LedgerRows.h"

#include <QAbstractTableModel>

namespace quillo {

/// The ledger's lines as a table: four columns, in the order of `LedgerRows`. What a cell shows is computed
/// when it is painted; nothing is kept for lines out of sight.
class LedgerTableModel final : public QAbstractTableModel {
    Q_OBJECT
public:
    enum class Badge { none, pending, notPosted };
    enum Role {
        badgeRole = Qt::UserRole, ///< int of `Badge`, description column only
        toneRole,                 ///< int of `Tone`
    };
    /// What a cell's colour says.
    enum class Tone { normal, charge, credit, alert };

    explicit LedgerTableModel(QObject* parent = nullptr);

    /// Shows another ledger, or none. It must stay until the next call.
    void setLedger(const Timeline* ledger);
    void setSearch(const QString& text);

    /// Lets go of the ledger, which is about to change, without changing the rows: their cells are blank
    /// until `setLedger`.
    void detach() noexcept { ledger = nullptr; }
    [[nodiscard]] bool isDetached() const noexcept { return ledger == nullptr; }

    void sort(int column, Qt::SortOrder direction) override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// The line of a row; null while detached.
    [[nodiscard]] const Transaction* line(int row) const;

    [[nodiscard]] LedgerSortOrder sortOrder() const noexcept { return rows.sortOrder(); }

private:
    [[nodiscard]] static QString text(const Transaction& line, LedgerColumn column);
    [[nodiscard]] static Tone tone(const Transaction& line, LedgerColumn column);

    const Timeline* ledger = nullptr;
    LedgerRows rows;
};

} // namespace quillo
