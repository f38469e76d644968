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

using namespace Qt::Literals::StringLiterals;

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

/// Beyond so many selected lines, finding them again in other rows is not worth the wait.
constexpr int mostRemembered = 100;

/// Up to so many lines everything is done at once: it takes two milliseconds, less than a thread's answer
/// may.
constexpr std::size_t preparedAtOnce = 5'000;

bool isSmall(const Ledger& ledger) {
    return !ledger || ledger->transactions.size() <= preparedAtOnce;
}

} // namespace

LedgerTable::LedgerTable(QWidget* parent)
    : QTableView(parent), lines(new LedgerTableModel(this)), prepared{.ledger = lines->rows()->prepared} {
    setModel(lines);
    setItemDelegate(new LedgerCellDelegate(this));
    auto* roomy = new LedgerTableStyle;
    roomy->setParent(this);
    setStyle(roomy);
    horizontalHeader()->setStyle(roomy);
    setAccessibleName(u"Transactions"_s);
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
    if (!event->spontaneous()) {
        fitColumns(); // a window that was only minimised is as the user left it
    }
}

void LedgerTable::fitColumns() {
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

LedgerTable::Prepared LedgerTable::Prepared::make(Ledger next, std::shared_ptr<const PreparedLedger> former) {
    Prepared made{.ledger = {}, .before = std::move(former)};
    const auto& known = made.before->lines();
    // A refresh seldom brings anything new. Lines that are equal need not be prepared again.
    if (next && next->transactions == known) {
        made.ledger = std::make_shared<const PreparedLedger>(std::move(next), *made.before);
        return made;
    }
    made.ledger = std::make_shared<const PreparedLedger>(std::move(next));
    made.moved = successors(known, made.ledger->lines());
    return made;
}

void LedgerTable::setLedger(Ledger ledger) {
    if (ledger == wantedLedger) {
        return;
    }
    wantedLedger = std::move(ledger);
    preparing.cancelAll();
    const auto& before = lines->rows()->prepared;
    if (isSmall(wantedLedger) && isSmall(before->ledger())) {
        prepared = Prepared::make(wantedLedger, before);
        updateRows();
    } else {
        preparing.spawn(prepare());
        Q_EMIT preparingChanged();
    }
}

Task<> LedgerTable::prepare() {
    auto work = worker.run(
        [ledger = wantedLedger, before = lines->rows()->prepared] { return Prepared::make(ledger, before); });
    auto made = co_await work;
    if (made.ledger->ledger() == wantedLedger) {
        prepared = std::move(made);
        updateRows();
    }
}

void LedgerTable::setSearch(const QString& text) {
    search = text;
    updateRows();
}

void LedgerTable::sortBy(int section) {
    const auto column = static_cast<LedgerColumn>(section);
    if (column != LedgerColumn::description) {
        const bool turn = column == sortOrder.column && sortOrder.direction == Qt::DescendingOrder;
        sortOrder = {.column = column, .direction = turn ? Qt::AscendingOrder : Qt::DescendingOrder};
        updateRows();
    }
    showSortOrder(); // the header has moved its arrow by itself
}

/// Brings the rows in line with what is wanted.
void LedgerTable::updateRows() {
    ordering.cancelAll();
    if (isSmall(prepared.ledger->ledger())) {
        showRows(std::make_shared<const LedgerRows>(LedgerRows::of(prepared.ledger, search, sortOrder)));
    } else {
        ordering.spawn(order());
        Q_EMIT preparingChanged();
    }
}

Task<> LedgerTable::order() {
    auto work = worker.run([ledger = prepared.ledger, text = search, wanted = sortOrder] {
        return std::make_shared<const LedgerRows>(LedgerRows::of(ledger, text, wanted));
    });
    auto rows = co_await work;
    // A wait that is over may go on although it was cancelled; then something else is wanted by now.
    if (rows->prepared == prepared.ledger && rows->search == search && rows->order == sortOrder) {
        showRows(std::move(rows));
    }
}

void LedgerTable::showRows(std::shared_ptr<const LedgerRows> rows) {
    const auto before = lines->rows();
    const bool isOtherLedger = before->prepared != rows->prepared;
    const bool isFirst = before->prepared->lines().empty();
    const bool isSameView = before->search == rows->search && before->order == rows->order;
    const bool isFollowed = !isOtherLedger || prepared.before == before->prepared;
    const bool isEqual = isFollowed && !(isOtherLedger && prepared.moved);
    if (isEqual && isSameView) {
        lines->setEqualRows(std::move(rows));
    } else {
        auto known = place();
        if (!isEqual) {
            follow(known, isFollowed);
        }
        if (!isSameView) {
            known.top = noLine;
        }
        lines->setRows(std::move(rows));
        findAgain(known);
    }
    if (isFirst && isVisible()) {
        fitColumns();
    }
    if (isOtherLedger) {
        prepared.before.reset();
        prepared.moved.reset();
        Q_EMIT ledgerShown();
    }
    // On a later turn, when the task that may have brought the rows has ended.
    QMetaObject::invokeMethod(this, &LedgerTable::preparingChanged, Qt::QueuedConnection);
}

/// From positions in the ledger before to those in the prepared one.
void LedgerTable::follow(Place& known, bool isFollowed) const {
    const auto move = [&](LinePosition& line) {
        line = isFollowed && line != noLine ? (*prepared.moved)[line] : noLine;
    };
    std::ranges::for_each(known.selected, move);
    move(known.current);
    move(known.top);
}

LedgerTable::Place LedgerTable::place() const {
    const auto& rows = *lines->rows();
    const auto lineOf = [&rows](int row) {
        return row >= 0 && row < rows.count() ? rows.lines[static_cast<std::size_t>(row)] : noLine;
    };
    Place known;
    int count = 0;
    for (const auto& range : selectionModel()->selection()) {
        count += range.height();
        for (int row = range.top(); row <= range.bottom() && count <= mostRemembered; ++row) {
            known.selected.push_back(lineOf(row));
        }
    }
    known.isAllSelected = count > 0 && count == rows.count();
    if (count > mostRemembered) {
        known.selected.clear();
    }
    known.currentRow = currentIndex().row();
    known.currentColumn = std::max(0, currentIndex().column());
    known.current = lineOf(known.currentRow);
    const auto top = verticalScrollBar()->value();
    known.top = top > 0 ? lineOf(top) : noLine;
    return known;
}

void LedgerTable::findAgain(const Place& known) {
    const auto& rows = *lines->rows();
    if (known.isAllSelected) {
        selectAll();
    } else {
        QItemSelection selection;
        for (const auto line : known.selected) {
            if (const auto row = rows.rowOf(line); row >= 0) {
                selection.select(lines->index(row, 0), lines->index(row, lines->columnCount() - 1));
            }
        }
        selectionModel()->select(selection, QItemSelectionModel::Select);
    }
    if (known.currentRow >= 0 && rows.count() > 0) {
        const auto row = rows.rowOf(known.current);
        // Where the line has gone, what took its place comes next for the keyboard.
        const auto next = row >= 0 ? row : std::min(known.currentRow, rows.count() - 1);
        selectionModel()->setCurrentIndex(lines->index(next, known.currentColumn),
                                          QItemSelectionModel::NoUpdate);
    }
    executeDelayedItemsLayout(); // gives the scroll bar its new range
    verticalScrollBar()->setValue(std::max(0, rows.rowOf(known.top)));
}

void LedgerTable::contextMenuEvent(QContextMenuEvent* event) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const auto column : {LedgerColumn::date, LedgerColumn::amount, LedgerColumn::runningBalance}) {
        const auto section = static_cast<int>(column);
        const auto title = lines->headerData(section, Qt::Horizontal, Qt::DisplayRole).toString();
        auto* sort = menu->addAction(u"Sort by "_s + title.toLower());
        sort->setCheckable(true);
        sort->setChecked(column == sortOrder.column);
        connect(sort, &QAction::triggered, this, [this, section] { sortBy(section); });
    }
    menu->addSeparator();
    auto* copy = menu->addAction(u"Copy"_s);
    copy->setEnabled(selectionModel()->hasSelection());
    connect(copy, &QAction::triggered, this, &LedgerTable::copySelection);
    // A key asks for the menu of the current line, wherever the pointer is.
    const bool isAtPointer = event->reason() == QContextMenuEvent::Mouse;
    const auto line = visualRect(currentIndex()).intersected(viewport()->rect());
    menu->popup(isAtPointer ? event->globalPos() : viewport()->mapToGlobal(line.bottomLeft()));
}

void LedgerTable::showSortOrder() {
    horizontalHeader()->setSortIndicator(static_cast<int>(sortOrder.column), sortOrder.direction);
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
