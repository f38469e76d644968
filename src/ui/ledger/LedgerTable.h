#pragma once

#include "core/TaskScope.h"
#include "core/WorkQueue.h"
#include "ui/ledger/LedgerTableModel.h"

#include <QTableView>

#include <optional>

namespace quillo {

/// The table of transactions: sorted by a click on a header or from the context menu, filtered, copied with
/// Ctrl+C as tab-separated text.
///
/// What a large ledger needs (preparing it, searching it, putting it in another order) is done on another
/// thread; until then the table shows what it showed before and stays usable. Selected lines stay selected,
/// the current line stays the current one, and the line at the top stays there, as far as they are still
/// shown.
class LedgerTable final : public QTableView {
    Q_OBJECT
public:
    explicit LedgerTable(QWidget* parent = nullptr);

    /// Has the table show a ledger, or none; `ledgerShown` tells when it does.
    void setLedger(Ledger ledger);

    /// The ledger that the rows are of.
    [[nodiscard]] const Ledger& ledger() const { return lines->rows()->prepared->ledger(); }

    void setSearch(const QString& text);

    /// Whether the rows are not yet those that were asked for.
    [[nodiscard]] bool isPreparing() const { return preparing.count() + ordering.count() > 0; }

Q_SIGNALS:
    void ledgerShown();
    void preparingChanged();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    /// A ledger that is ready, and where the lines of the one before it went.
    struct Prepared {
        std::shared_ptr<const PreparedLedger> ledger;
        std::shared_ptr<const PreparedLedger> before = {};
        std::optional<std::vector<LinePosition>> moved = {}; ///< absent: every line where it was

        [[nodiscard]] static Prepared make(Ledger ledger, std::shared_ptr<const PreparedLedger> former);
    };

    /// What is to be found again in other rows.
    struct Place {
        std::vector<LinePosition> selected;
        bool isAllSelected = false;
        LinePosition current = noLine;
        int currentRow = -1;
        int currentColumn = 0;
        LinePosition top = noLine; ///< none while the table is at its top
    };

    [[nodiscard]] Task<> prepare();
    [[nodiscard]] Task<> order();
    void updateRows();
    void showRows(std::shared_ptr<const LedgerRows> rows);
    [[nodiscard]] Place place() const;
    void follow(Place& known, bool isFollowed) const;
    void findAgain(const Place& place);
    void fitColumns();
    void copySelection() const;
    void sortBy(int section);
    void showSortOrder();
    void keepMinimumWidth(int section, int before, int width);

    LedgerTableModel* lines;
    Ledger wantedLedger;
    QString search;
    LedgerSortOrder sortOrder;
    Prepared prepared;
    TaskScope preparing;
    TaskScope ordering;
    WorkQueue worker;
};

} // namespace quillo
