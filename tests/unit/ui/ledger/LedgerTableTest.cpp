#include "ui/ledger/LedgerTable.h"

#include "support/LoopStallProbe.h"
#include "support/Wait.h"
#include "ui/ledger/LedgerLines.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// The table on the screen, in a size that shows some twenty lines.
struct Fixture {
    Fixture() {
        table.resize(900, 500);
        table.show();
        table.setFocus();
        table.activateWindow();
        if (!QTest::qWaitForWindowActive(&table)) {
            qFatal("no window");
        }
    }

    /// Shows a ledger, which a large one is not at once.
    void show(Timeline next) {
        table.setLedger(published(std::move(next)));
        if (!waitUntil([this] { return !table.isPreparing(); })) {
            qFatal("not shown");
        }
    }

    [[nodiscard]] QString text(int row, LedgerColumn column = LedgerColumn::description) const {
        return table.model()->index(row, static_cast<int>(column)).data().toString();
    }

    [[nodiscard]] QStringList selected() const {
        QStringList all;
        for (const auto& index : table.selectionModel()->selectedRows()) {
            all += text(index.row());
        }
        all.sort();
        return all;
    }

    void clickTitle(LedgerColumn column) {
        auto* header = table.horizontalHeader();
        const auto section = static_cast<int>(column);
        const QPoint middle(header->sectionViewportPosition(section) + header->sectionSize(section) / 2,
                            header->height() / 2);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, middle);
    }

    /// Opens the context menu as a key does and takes an entry; returns the entry that was checked.
    QString chooseByKeyboard(const QString& title) {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {}, Qt::NoModifier);
        QCoreApplication::sendEvent(&table, &event);
        QString checked;
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu) {
            qFatal("no menu");
        }
        for (auto* action : menu->actions()) {
            checked = action->isChecked() ? action->text() : checked;
        }
        for (auto* action : menu->actions()) {
            if (action->text() == title) {
                menu->setActiveAction(action);
                QTest::keyClick(menu, Qt::Key_Return);
            }
        }
        return checked;
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(&table, key, modifiers); }

    LedgerTable table;
};

} // namespace

class LedgerTableTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aClickOnATitleSortsAndAnotherTurnsTheOrderAround() {
        Fixture fixture;
        fixture.show(ledgerOf({{.merchant = u"two"_s, .amount = 2, .balance = 1},
                               {.merchant = u"three"_s, .amount = 3, .balance = 3},
                               {.merchant = u"one"_s, .amount = 1, .balance = 2}}));
        fixture.clickTitle(LedgerColumn::amount);
        QCOMPARE(fixture.text(0), u"three"_s);
        fixture.clickTitle(LedgerColumn::amount);
        QCOMPARE(fixture.text(0), u"one"_s);
        fixture.clickTitle(LedgerColumn::runningBalance);
        QCOMPARE(fixture.text(0), u"three"_s);
        QCOMPARE(fixture.table.horizontalHeader()->sortIndicatorSection(),
                 static_cast<int>(LedgerColumn::runningBalance));
    }

    void twoQuickClicksAreTwoClicks() {
        Fixture fixture;
        fixture.show(ledgerOf({{.merchant = u"two"_s, .amount = 2}, {.merchant = u"one"_s, .amount = 1}}));
        auto* header = fixture.table.horizontalHeader();
        const QPoint middle(header->sectionViewportPosition(2) + 40, header->height() / 2);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, middle);
        // A window system's second click is a double click and a release.
        for (const auto type : {QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease}) {
            const auto buttons = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
            QMouseEvent event(type, middle, header->viewport()->mapToGlobal(middle), Qt::LeftButton, buttons,
                              {});
            QCoreApplication::sendEvent(header->viewport(), &event);
        }
        QCOMPARE(fixture.text(0), u"one"_s);
        QCOMPARE(header->sortIndicatorOrder(), Qt::AscendingOrder);
    }

    void theKeyboardSortsFromTheContextMenu() {
        Fixture fixture;
        fixture.show(ledgerOf({{.merchant = u"two"_s, .amount = 2, .balance = 1},
                               {.merchant = u"three"_s, .amount = 3, .balance = 3},
                               {.merchant = u"one"_s, .amount = 1, .balance = 2}}));
        fixture.press(Qt::Key_Home);
        QCOMPARE(fixture.chooseByKeyboard(u"Sort by amount"_s), u"Sort by date"_s);
        QCOMPARE(fixture.text(0), u"three"_s);
        QCOMPARE(fixture.chooseByKeyboard(u"Sort by amount"_s), u"Sort by amount"_s);
        QCOMPARE(fixture.text(0), u"one"_s);
        QCOMPARE(fixture.chooseByKeyboard(u"Sort by running balance"_s), u"Sort by amount"_s);
        QCOMPARE(fixture.text(0), u"three"_s);
        QCOMPARE(fixture.selected(), QStringList{u"two"_s});
        fixture.chooseByKeyboard(u"Copy"_s);
        QVERIFY(QApplication::clipboard()->text().contains(u"two"_s));
    }

    void aClickOnTheDescriptionsTitleChangesNothing() {
        Fixture fixture;
        fixture.show(ledgerOf({{.merchant = u"B"_s}, {.merchant = u"C"_s}, {.merchant = u"A"_s}}));
        fixture.clickTitle(LedgerColumn::description);
        QCOMPARE(fixture.text(0), u"B"_s);
        QCOMPARE(fixture.table.horizontalHeader()->sortIndicatorSection(),
                 static_cast<int>(LedgerColumn::date));
        QCOMPARE(fixture.table.horizontalHeader()->sortIndicatorOrder(), Qt::DescendingOrder);
    }

    void columnsHaveTheirWidthsAndAreNeverNarrowerThanTheirMinimum_data() {
        QTest::addColumn<int>("column");
        QTest::addColumn<int>("minimum");
        QTest::addColumn<int>("ideal");
        QTest::newRow("date") << 0 << 90 << 100;
        QTest::newRow("amount") << 2 << 100 << 120;
        QTest::newRow("running balance") << 3 << 120 << 140;
    }
    void columnsHaveTheirWidthsAndAreNeverNarrowerThanTheirMinimum() {
        QFETCH(int, column);
        QFETCH(int, minimum);
        Fixture fixture;
        QTEST(fixture.table.columnWidth(column), "ideal");
        fixture.table.horizontalHeader()->resizeSection(column, 10);
        QCOMPARE(fixture.table.columnWidth(column), minimum);
        fixture.table.horizontalHeader()->resizeSection(column, 300);
        QCOMPARE(fixture.table.columnWidth(column), 300);
    }

    void theDescriptionTakesTheRoomThatIsLeft() {
        Fixture fixture;
        const auto before = fixture.table.columnWidth(1);
        fixture.table.resize(fixture.table.width() + 123, fixture.table.height());
        QVERIFY(waitUntil([&] { return fixture.table.columnWidth(1) == before + 123; }));
    }

    void columnsStayAsTheUserLeftThemWhenTheWindowWasMinimised() {
        Fixture fixture;
        fixture.table.setColumnWidth(2, 222);
        QShowEvent event;
        QSpontaneKeyEvent::setSpontaneous(&event);
        qApp->notify(&fixture.table, &event);
        QCOMPARE(fixture.table.columnWidth(2), 222);
    }

    void homeAndEndGoToTheFirstAndTheLastLine() {
        Fixture fixture;
        fixture.show(ledgerOfLength(500));
        fixture.press(Qt::Key_End);
        QCOMPARE(fixture.selected(), QStringList{u"Merchant 499"_s});
        QCOMPARE(fixture.table.verticalScrollBar()->value(), fixture.table.verticalScrollBar()->maximum());
        fixture.press(Qt::Key_Home);
        QCOMPARE(fixture.selected(), QStringList{u"Merchant 0"_s});
        QCOMPARE(fixture.table.verticalScrollBar()->value(), 0);
    }

    void pageKeysGoOneScreenOn() {
        Fixture fixture;
        fixture.show(ledgerOfLength(500));
        fixture.press(Qt::Key_Home);
        fixture.press(Qt::Key_PageDown);
        const auto row = fixture.table.currentIndex().row();
        QVERIFY2(row > 5 && row < 40, qPrintable(QString::number(row)));
        fixture.press(Qt::Key_PageUp);
        QCOMPARE(fixture.table.currentIndex().row(), 0);
    }

    void homeAndEndInAnEmptyTableDoNothing() {
        Fixture fixture;
        fixture.press(Qt::Key_End);
        fixture.press(Qt::Key_Home);
        QVERIFY(!fixture.table.currentIndex().isValid());
    }

    void copyTakesTheSelectedLinesInTheOrderOfTheScreenTabSeparated() {
        Fixture fixture;
        fixture.show(ledgerOf({{.date = u"2024-05-01"_s, .merchant = u"old"_s, .amount = -2, .balance = 3},
                               {.date = u"2024-05-02"_s, .merchant = u"not this"_s},
                               {.date = u"2024-05-03"_s, .merchant = u"new"_s, .amount = 5, .balance = 4}}));
        auto* selection = fixture.table.selectionModel();
        const auto rows = QItemSelectionModel::Select | QItemSelectionModel::Rows;
        selection->select(fixture.table.model()->index(2, 0), rows);
        selection->select(fixture.table.model()->index(0, 0), rows);
        fixture.press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(),
                 u"2024-05-03\tnew\t+$5.00\t$4.00\n2024-05-01\told\t-$2.00\t$3.00"_s);
    }

    void copyWithoutASelectionLeavesTheClipboardAlone() {
        Fixture fixture;
        fixture.show(ledgerOfLength(3));
        QApplication::clipboard()->setText(u"mine"_s);
        fixture.table.clearSelection();
        fixture.press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), u"mine"_s);
    }

    void selectionAndPositionSurviveAnotherLedger() {
        Fixture fixture;
        fixture.show(ledgerOfLength(500));
        fixture.table.selectRow(250);
        fixture.table.verticalScrollBar()->setValue(240);
        const auto position = fixture.table.verticalScrollBar()->value();
        auto next = ledgerOfLength(500);
        next.transactions.back().amount = 77;
        fixture.show(std::move(next));
        QCOMPARE(fixture.selected(), QStringList{u"Merchant 250"_s});
        QCOMPARE(fixture.table.verticalScrollBar()->value(), position);
    }

    void theSelectionFollowsItsLineToAnotherPlace() {
        Fixture fixture;
        fixture.show(
            ledgerOf({{.merchant = u"A"_s, .id = Text(u"a"_s)}, {.merchant = u"B"_s, .id = Text(u"b"_s)}}));
        fixture.table.selectRow(1);
        fixture.show(ledgerOf({{.date = u"2024-06-01"_s, .merchant = u"new"_s},
                               {.merchant = u"A"_s, .id = Text(u"a"_s)},
                               {.merchant = u"B, posted"_s, .id = Text(u"b"_s)}}));
        QCOMPARE(fixture.selected(), QStringList{u"B, posted"_s});
    }

    void aLineThatIsGoneIsNoLongerSelected() {
        Fixture fixture;
        fixture.show(ledgerOfLength(3));
        fixture.table.selectAll();
        fixture.show(ledgerOfLength(1));
        QCOMPARE(fixture.selected(), QStringList{u"Merchant 0"_s});
        fixture.table.setLedger(nullptr);
        QCOMPARE(fixture.selected(), QStringList());
    }

    void theCurrentRowFollowsItsLineThroughARefreshSoThatDownGoesToTheNext() {
        Fixture fixture;
        fixture.show(ledgerOf({{.merchant = u"A"_s}, {.merchant = u"B"_s}, {.merchant = u"C"_s}}));
        fixture.press(Qt::Key_Home);
        fixture.press(Qt::Key_Down);
        fixture.show(ledgerOf({{.date = u"2024-06-01"_s, .merchant = u"new"_s},
                               {.merchant = u"A"_s},
                               {.merchant = u"B"_s},
                               {.merchant = u"C"_s}}));
        fixture.press(Qt::Key_Down);
        QCOMPARE(fixture.selected(), QStringList{u"C"_s});
    }

    void whenTheCurrentLineIsGoneTheKeyboardGoesOnFromItsPlace() {
        Fixture fixture;
        fixture.show(ledgerOf({{.merchant = u"A"_s}, {.merchant = u"B"_s}, {.merchant = u"C"_s}}));
        fixture.press(Qt::Key_Home);
        fixture.press(Qt::Key_Down);
        fixture.show(ledgerOf({{.merchant = u"A"_s}, {.merchant = u"C"_s}}));
        QCOMPARE(fixture.table.currentIndex().row(), 1);
        fixture.press(Qt::Key_Up);
        QCOMPARE(fixture.selected(), QStringList{u"A"_s});
    }

    void theLineAtTheTopStaysThereWhenNewOnesComeAboveIt() {
        Fixture fixture;
        fixture.show(ledgerOfLength(500));
        fixture.table.verticalScrollBar()->setValue(240);
        auto next = ledgerOfLength(500);
        next.transactions.insert(next.transactions.begin(),
                                 ledgerOf({{.date = u"2100-01-01"_s}}).transactions[0]);
        fixture.show(next);
        QCOMPARE(fixture.table.verticalScrollBar()->value(), 241);
        fixture.table.scrollToTop();
        next.transactions.insert(next.transactions.begin(),
                                 ledgerOf({{.date = u"2100-01-02"_s}}).transactions[0]);
        fixture.show(next);
        QCOMPARE(fixture.table.verticalScrollBar()->value(), 0); // who looks at the newest sees what is new
    }

    void theSelectionOutlivesASearchThatShowsItsLine() {
        Fixture fixture;
        fixture.show(ledgerOfLength(500));
        fixture.table.selectRow(250);
        fixture.table.setSearch(u"merchant 25"_s);
        QCOMPARE(fixture.selected(), QStringList{u"Merchant 250"_s});
        fixture.table.setSearch({});
        QCOMPARE(fixture.selected(), QStringList{u"Merchant 250"_s});
    }

    void columnsFitWhatAFirstLedgerBringsIntoAnOpenWindow() {
        Fixture fixture;
        fixture.table.setLedger(published(ledgerOf({{.amount = 1e12, .balance = 1e12}})));
        const auto* header = fixture.table.horizontalHeader();
        const auto needed = fixture.table.fontMetrics().horizontalAdvance(u"+$1,000,000,000,000.00"_s);
        QVERIFY(header->sectionSize(static_cast<int>(LedgerColumn::amount)) > needed);
    }

    void aTableKeepsTheLedgerThatItShows() {
        Fixture fixture;
        auto ledger = published(ledgerOfLength(50));
        const std::weak_ptr<const Timeline> watched = ledger;
        fixture.table.setLedger(std::move(ledger));
        QVERIFY(!watched.expired());
        fixture.table.grab();
        fixture.table.setLedger(nullptr);
        QVERIFY(watched.expired());
        QCOMPARE(fixture.table.model()->rowCount(), 0);
    }

    void aLargeLedgerIsPreparedSearchedAndSortedWithoutStallingTheLoop() {
        Fixture fixture;
        fixture.show(ledgerOfLength(100));
        fixture.table.grab(); // fonts are loaded
        const auto large = published(ledgerOfLength(100'000));
        LoopStallProbe probe;
        fixture.table.setLedger(large);
        QVERIFY(fixture.table.isPreparing());
        QCOMPARE(fixture.table.model()->rowCount(), 100); // usable meanwhile
        QVERIFY(waitUntil([&] { return fixture.table.ledger() == large && !fixture.table.isPreparing(); }));
        fixture.table.setSearch(u"merchant 9999"_s);
        QVERIFY(waitUntil([&] { return fixture.table.model()->rowCount() == 11; }));
        fixture.clickTitle(LedgerColumn::amount);
        QVERIFY(waitUntil([&] { return !fixture.table.isPreparing(); }));
        QCOMPARE(fixture.text(0), u"Merchant 99999"_s);
        QVERIFY2(probe.longestStall() <= LoopStallProbe::budget,
                 qPrintable(QString::number(probe.longestStall().count())));
    }

    void whatWasAskedForLastIsWhatALargeLedgerShows() {
        Fixture fixture;
        fixture.table.setLedger(published(ledgerOfLength(20'000)));
        fixture.table.setSearch(u"nothing"_s);
        fixture.table.setLedger(published(ledgerOfLength(30'000)));
        fixture.table.setSearch(u"merchant 29999"_s);
        fixture.clickTitle(LedgerColumn::amount);
        fixture.table.setSearch(u"merchant 2999"_s);
        QVERIFY(waitUntil([&] { return !fixture.table.isPreparing(); }));
        QCOMPARE(fixture.table.model()->rowCount(), 11);
        QCOMPARE(fixture.text(0), u"Merchant 29999"_s);
    }

    void aTableThatGoesLeavesItsPreparationsBehind() {
        auto fixture = std::make_unique<Fixture>();
        fixture->table.setLedger(published(ledgerOfLength(100'000)));
        LoopStallProbe probe;
        fixture.reset();
        drainEvents();
        QVERIFY2(probe.longestStall() <= 2 * LoopStallProbe::budget,
                 qPrintable(QString::number(probe.longestStall().count())));
    }

    void linesOfEveryKindArePaintedWithoutStallingTheLoop() {
        Fixture fixture;
        std::vector<Line> lines;
        for (int count = 0; count < 100; ++count) {
            lines.push_back({.merchant = QString(10'000, QChar(0x5d0 + count % 20)),
                             .amount = count % 2 == 0 ? 1e308 : -1e308,
                             .balance = -1e308,
                             .isPending = count % 3 == 0,
                             .isSynthetic = count % 5 == 0});
        }
        fixture.table.grab(); // fonts are loaded
        fixture.show(ledgerOf(lines));
        fixture.table.selectRow(3);
        LoopStallProbe probe;
        drainEvents();
        fixture.table.scrollToBottom();
        drainEvents();
        QVERIFY2(probe.longestStall() <= 10 * LoopStallProbe::budget,
                 qPrintable(QString::number(probe.longestStall().count())));
    }
};

QTEST_MAIN(LedgerTableTest)
#include "LedgerTableTest.moc"
