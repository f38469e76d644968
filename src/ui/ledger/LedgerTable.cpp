#include "ui/ledger/LedgerTable.h"

#include "ui/ledger/LedgerCellDelegate.h"
#include "ui/ledger/LedgerTableStyle.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>

#include <algorithm>

namespace quillo {

namespace {

struct ColumnWidth {
    LedgerColumn column;
    int minimum;
    int ideal;
};

/// The description takes what is left.
constexpr ColumnWidth widths[] = {{LedgerColumn::date, 90, 100},
                                  {LedgerColumn::amount, 100, 120},
                                  {LedgerColumn::runningBalance, 120, 140}};

/// Beyond so many selected lines, finding them again in another ledger is not worth the wait.
constexpr int mostRemembered = 100;

} // namespace

LedgerTable::LedgerTable(QWidget* parent) : QTableView(parent), lines(new LedgerTableModel(this)) {
    setModel(lines);
    setItemDelegate(new LedgerCellDelegate(this));
    auto* roomy = new LedgerTableStyle;
    roomy->setParent(this);
    setStyle(roomy);
    horizontalHeader()->setStyle(roomy);
    setAccessibleName(QStringLiteral("Transactions"));
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    // Rows of one height, told once, so that nothing is measured line by line.
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 10);

    auto* header = horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionsClickable(true);
    header->setStretchLastSection(false);
    header->setResizeContentsPrecision(0); // what is in sight tells enough; measuring takes its time
    header->setSectionResizeMode(static_cast<int>(LedgerColumn::description), QHeaderView::Stretch);
    connect(header, &QHeaderView::sectionClicked, this, &LedgerTable::sortBy);
    // The second of two quick clicks counts, too.
    connect(header, &QHeaderView::sectionDoubleClicked, this, &LedgerTable::sortBy);
    connect(header, &QHeaderView::sectionResized, this, &LedgerTable::keepMinimumWidth);
    header->setSortIndicatorShown(true);
    showSortOrder();
}

void LedgerTable::showEvent(QShowEvent* event) {
    QTableView::showEvent(event);
    if (event->spontaneous()) {
        return; // The window was only minimised: the columns are as the user left them.
    }
    for (const auto& [column, minimum, ideal] : widths) {
        // Wider where the desktop's font needs it.
        const auto needed = std::min(sizeHintForColumn(static_cast<int>(column)), 2 * ideal);
        setColumnWidth(static_cast<int>(column), std::max(ideal, needed));
    }
}

void LedgerTable::keepMinimumWidth(int section, int, int width) {
    for (const auto& [column, minimum, ideal] : widths) {
        if (section == static_cast<int>(column) && width < minimum) {
            setColumnWidth(section, minimum);
        }
    }
}

void LedgerTable::selectLines(const auto& known, const auto& isSame) {
    if (known.empty()) {
        return;
    }
    QItemSelection selection;
    for (int row = 0; row < lines->rowCount(); ++row) {
        const auto& line = *lines->line(row);
        if (std::ranges::any_of(known, [&](const auto& one) { return isSame(line, one); })) {
            const auto index = lines->index(row, 0);
            selection.select(index, lines->index(row, lines->columnCount() - 1));
        }
    }
    selectionModel()->select(selection, QItemSelectionModel::Select);
}

void LedgerTable::sortBy(int section) {
    const auto order = lines->sortOrder();
    if (section == static_cast<int>(LedgerColumn::description)) {
        showSortOrder(); // The header has moved its arrow by itself.
        return;
    }
    const bool isSame = section == static_cast<int>(order.column);
    const auto direction =
        isSame && order.direction == Qt::DescendingOrder ? Qt::AscendingOrder : Qt::DescendingOrder;
    const auto chosen = selectionModel()->selectedRows();
    std::vector<const Transaction*> selected;
    if (chosen.size() <= mostRemembered) {
        std::ranges::transform(chosen, std::back_inserter(selected),
                               [this](const auto& index) { return lines->line(index.row()); });
    }
    lines->sort(section, direction);
    selectLines(selected, [](const Transaction& line, const Transaction* known) { return &line == known; });
    showSortOrder();
    scrollToTop();
}

void LedgerTable::contextMenuEvent(QContextMenuEvent* event) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto order = lines->sortOrder();
    for (const auto column : {LedgerColumn::date, LedgerColumn::amount, LedgerColumn::runningBalance}) {
        const auto section = static_cast<int>(column);
        const auto title = lines->headerData(section, Qt::Horizontal, Qt::DisplayRole).toString();
        auto* sort = menu->addAction(QStringLiteral("Sort by ") + title.toLower());
        sort->setCheckable(true);
        sort->setChecked(column == order.column);
        connect(sort, &QAction::triggered, this, [this, section] { sortBy(section); });
    }
    menu->addSeparator();
    auto* copy = menu->addAction(QStringLiteral("Copy"));
    copy->setEnabled(selectionModel()->hasSelection());
    connect(copy, &QAction::triggered, this, &LedgerTable::copySelection);
    // A key asks for the menu of the current line, wherever the pointer is.
    const bool isAtPointer = event->reason() == QContextMenuEvent::Mouse;
    const auto line = visualRect(currentIndex()).intersected(viewport()->rect());
    menu->popup(isAtPointer ? event->globalPos() : viewport()->mapToGlobal(line.bottomLeft()));
}

void LedgerTable::showSortOrder() {
    const auto order = lines->sortOrder();
    horizontalHeader()->setSortIndicator(static_cast<int>(order.column), order.direction);
}

void LedgerTable::setSearch(const QString& text) {
    lines->setSearch(text);
    scrollToTop();
}

void LedgerTable::ledgerWillChange() {
    if (lines->isDetached()) {
        return;
    }
    selectedLines.clear();
    const auto rows = selectionModel()->selectedRows();
    if (rows.size() <= mostRemembered) {
        for (const auto& index : rows) {
            if (const auto* line = lines->line(index.row())) {
                selectedLines.push_back(*line);
            }
        }
    }
    lines->detach();
}

void LedgerTable::setLedger(const Timeline* ledger) {
    const auto position = verticalScrollBar()->value();
    lines->setLedger(ledger);
    selectLines(selectedLines, [](const Transaction& line, const Transaction& known) {
        return known.txnId ? known.txnId == line.txnId : known == line;
    });
    verticalScrollBar()->setValue(position);
}

void LedgerTable::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy)) {
        copySelection();
        return;
    }
    const bool isPlain = event->modifiers() == Qt::NoModifier;
    if (isPlain && (event->key() == Qt::Key_Home || event->key() == Qt::Key_End)) {
        // In a list of whole rows these mean its first and last row.
        const auto row = event->key() == Qt::Key_Home ? 0 : lines->rowCount() - 1;
        const auto index = lines->index(row, std::max(0, currentIndex().column()));
        setCurrentIndex(index);
        scrollTo(index);
        return;
    }
    QTableView::keyPressEvent(event);
}

void LedgerTable::copySelection() const {
    auto rows = selectionModel()->selectedRows();
    std::ranges::sort(rows, {}, &QModelIndex::row);
    QStringList text;
    for (const auto& row : rows) {
        QStringList cells;
        for (int column = 0; column < lines->columnCount(); ++column) {
            cells << lines->index(row.row(), column).data(Qt::DisplayRole).toString();
        }
        text << cells.join(u'\t');
    }
    if (!text.isEmpty()) {
        QApplication::clipboard()->setText(text.join(u'\n'));
    }
}

} // namespace quillo
