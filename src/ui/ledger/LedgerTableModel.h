#pragma once

#include "ui/ledger/PreparedLedger.h"

#include <QAbstractTableModel>

namespace quillo {

/// `LedgerRows` as a table of four columns. What a cell shows is computed when it is painted; nothing is kept
/// for lines out of sight.
class LedgerTableModel final : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Role {
        badgeRole =
            Qt::UserRole, ///< the text behind a description that says in what state the line is, if any
        toneRole,         ///< int of `Tone`
    };
    /// A cell's colour: red for charges and what is not posted, green for payments and credits.
    enum class Tone { normal, red, green };

    explicit LedgerTableModel(QObject* parent = nullptr);

    void setRows(std::shared_ptr<const LedgerRows> next);

    /// The same for rows that show what is shown already: nothing changes for the views.
    void setEqualRows(std::shared_ptr<const LedgerRows> next) noexcept { shown = std::move(next); }
    [[nodiscard]] const std::shared_ptr<const LedgerRows>& rows() const noexcept { return shown; }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    [[nodiscard]] static QString text(const Transaction& line, LedgerColumn column);
    [[nodiscard]] static Tone tone(const Transaction& line, LedgerColumn column);

    std::shared_ptr<const LedgerRows> shown = std::make_shared<const LedgerRows>();
};

} // namespace quillo
