#pragma once

#include "ui/ledger/LedgerTableModel.h"

#include <QTableView>

namespace quillo {

/// The table of transactions: sorted by a click on a header or from the context menu, filtered, copied with
/// Ctrl+C as tab-separated text.
class LedgerTable final : public QTableView {
    Q_OBJECT
public:
    explicit LedgerTable(QWidget* parent = nullptr);

    /// To be called before the ledger that is shown changes or goes. Cells are blank until `setLedger`.
    void ledgerWillChange();

    /// Shows a ledger, or none. The lines that were selected stay selected, and the view stays where it was,
    /// as far as they are still there.
    void setLedger(const Timeline* ledger);

    void setSearch(const QString& text);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void copySelection() const;
    /// Selects the lines that are the same as one of the known ones.
    void selectLines(const auto& known, const auto& isSame);
    void sortBy(int section);
    void showSortOrder();
    void keepMinimumWidth(int section, int before, int width);

    LedgerTableModel* lines;
    std::vector<Transaction> selectedLines;
};

} // namespace quillo
