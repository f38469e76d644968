#include "ui/ledger/LedgerView.h"

#include "support/TestMain.h"
#include "ui/Spinner.h"
#include "ui/ledger/LedgerFixture.h"
#include "ui/ledger/LedgerTable.h"

#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QScrollBar>
#include <QToolButton>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// The view on the screen.
struct Fixture : LedgerSurroundings {
    [[nodiscard]] LedgerTable& table() const { return *view->findChild<LedgerTable*>(); }
    [[nodiscard]] QLineEdit& search() const { return *view->findChild<QLineEdit*>(); }
    [[nodiscard]] Spinner& toolbarSpinner() const {
        const auto all = view->findChildren<Spinner*>();
        return **std::ranges::find_if(all, [this](const auto* each) {
            return each->parentWidget() == button(u"Pull updates"_s)->parentWidget();
        });
    }
    [[nodiscard]] QAbstractButton* button(const QString& title) const { return visibleButton(*view, title); }

    [[nodiscard]] QStringList merchants() const {
        QStringList all;
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            all += table().model()->index(row, 1).data().toString();
        }
        return all;
    }

    void show(std::vector<Line> lines) {
        store().timeline = ledgerOf(lines);
        drainEvents();
    }

    std::unique_ptr<LedgerView> view = shown<LedgerView>();
};

/// Counts how often a widget is painted.
class PaintCounter final : public QObject {
public:
    explicit PaintCounter(QWidget& widget) { widget.installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

    int count = 0;
};

} // namespace

/// The ledger window's content: toolbar, search, keys, and how it follows the store.
class LedgerViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { leaveSessionBus(); }

    void theToolbarHasItsControlsInOrder() {
        Fixture fixture;
        fixture.store().isLoading = true;
        drainEvents();
        const QList<QWidget*> controls{&fixture.search(), &fixture.toolbarSpinner(),
                                       fixture.button(u"Pull updates"_s), fixture.button(u"Pull from bank"_s),
                                       fixture.view->findChild<QComboBox*>()};
        for (qsizetype index = 1; index < controls.size(); ++index) {
            QVERIFY(controls.at(index - 1)->geometry().right() < controls.at(index)->geometry().left());
        }
        QCOMPARE(fixture.search().placeholderText(), u"Filter merchants"_s);
        QCOMPARE(fixture.button(u"Pull updates"_s)->toolTip(),
                 u"Fast + free. Re-reads Plaid's cached copy of your bank data."_s);
        QCOMPARE(fixture.button(u"Pull from bank"_s)->toolTip(),
                 u"Slow (~30s–2min). Asks Plaid to re-pull from your bank. Rate-limited + metered."_s);
        QCOMPARE(fixture.view->findChild<QComboBox*>()->toolTip(),
                 u"Switch between the live ledger and any daily snapshot from the past 90 days."_s);
        QVERIFY(!fixture.button(u"Pull updates"_s)->icon().isNull());
        QVERIFY(!fixture.button(u"Pull from bank"_s)->icon().isNull());
    }

    void somethingTurnsWhileTheStoreLoadsAndMovesNoButton() {
        Fixture fixture;
        QVERIFY(!fixture.toolbarSpinner().isVisible());
        const auto before = fixture.button(u"Pull updates"_s)->geometry();
        fixture.store().isLoading = true;
        drainEvents();
        QVERIFY(fixture.toolbarSpinner().isVisible());
        QCOMPARE(fixture.button(u"Pull updates"_s)->geometry(), before);
        fixture.store().isLoading = false;
        drainEvents();
        QVERIFY(!fixture.toolbarSpinner().isVisible());
    }

    void pullUpdatesHasTheBackendReadTheCopyAgain() {
        Fixture fixture;
        fixture.button(u"Pull updates"_s)->click();
        QVERIFY(waitUntil([&] { return fixture.store().timeline->has_value(); }));
        QCOMPARE(fixture.backend().count(target::sync), 1);
        QCOMPARE(fixture.backend().requests(target::sync).at(0).method, QByteArray("POST"));
        QCOMPARE(fixture.backend().count(target::refresh), 0);
    }

    void pullFromBankHasTheBankAsked() {
        Fixture fixture;
        fixture.button(u"Pull from bank"_s)->click();
        QVERIFY(waitUntil([&] { return fixture.backend().count(target::refresh) == 1; }));
        QCOMPARE(fixture.backend().requests(target::refresh).at(0).method, QByteArray("POST"));
        QCOMPARE(fixture.backend().count(target::sync), 0);
    }

    void nothingCanBePulledWhileASnapshotIsShown() {
        Fixture fixture;
        fixture.store().snapshotTimeline = ledgerOf({{}});
        fixture.store().selectedSnapshotDate = u"2024-04-30"_s;
        drainEvents();
        QVERIFY(!fixture.button(u"Pull updates"_s)->isEnabled());
        QVERIFY(!fixture.button(u"Pull from bank"_s)->isEnabled());
        QTest::mouseClick(fixture.button(u"Pull updates"_s), Qt::LeftButton);
        drainEvents();
        QCOMPARE(fixture.backend().count(target::sync), 0);
        fixture.store().selectedSnapshotDate = std::nullopt;
        drainEvents();
        QVERIFY(fixture.button(u"Pull updates"_s)->isEnabled());
        QVERIFY(fixture.button(u"Pull from bank"_s)->isEnabled());
    }

    void typingFiltersAndEscapeShowsEverythingAgain() {
        Fixture fixture;
        fixture.show({{.merchant = u"Blue Bottle Coffee"_s}, {.merchant = u"Grocer"_s}});
        QTest::keyClick(fixture.view.get(), Qt::Key_F, Qt::ControlModifier);
        QVERIFY(fixture.search().hasFocus());
        QTest::keyClicks(&fixture.search(), u"  COFFEE "_s);
        QCOMPARE(fixture.merchants(), QStringList{u"Blue Bottle Coffee"_s});
        QTest::keyClick(&fixture.search(), Qt::Key_Escape);
        QCOMPARE(fixture.search().text(), QString());
        QCOMPARE(fixture.merchants().size(), 2);
        QVERIFY(fixture.table().hasFocus());
    }

    void aLineIsFoundByItsNameThatIsNotShown() {
        Fixture fixture;
        auto ledger = ledgerOf({{.merchant = u"Shop"_s}, {.merchant = u"Grocer"_s}});
        ledger.transactions[0].name = Text(u"ACME STORE 42"_s);
        fixture.store().timeline = ledger;
        drainEvents();
        fixture.search().setText(u"acme"_s);
        QCOMPARE(fixture.merchants(), QStringList{u"Shop"_s});
    }

    void searchAndOrderStayWhenARefreshBringsAnotherLedger() {
        Fixture fixture;
        fixture.show({{.merchant = u"Cafe 1"_s, .amount = 1}, {.merchant = u"Grocer"_s}});
        fixture.search().setText(u"cafe"_s);
        fixture.table().horizontalHeader()->sectionClicked(2);
        fixture.show({{.merchant = u"Cafe 1"_s, .amount = 1},
                      {.merchant = u"Grocer"_s},
                      {.merchant = u"Cafe 2"_s, .amount = 2}});
        QCOMPARE(fixture.merchants(), (QStringList{u"Cafe 2"_s, u"Cafe 1"_s}));
    }

    void selectionAndPositionSurviveARefresh() {
        Fixture fixture;
        fixture.store().timeline = ledgerOfLength(500);
        drainEvents();
        fixture.table().selectRow(250);
        fixture.table().verticalScrollBar()->setValue(240);
        auto next = ledgerOfLength(500);
        next.transactions.front().amount = 77;
        fixture.store().timeline = next;
        drainEvents();
        QCOMPARE(fixture.table().verticalScrollBar()->value(), 240);
        const auto selected = fixture.table().selectionModel()->selectedRows(1);
        QCOMPARE(selected.size(), 1);
        QCOMPARE(selected.at(0).data().toString(), u"Merchant 250"_s);
    }

    void aRefreshThatBringsNothingNewPaintsNothing() {
        Fixture fixture;
        fixture.store().timeline = ledgerOfLength(500);
        drainEvents();
        PaintCounter painted(*fixture.table().viewport());
        fixture.store().timeline = ledgerOfLength(500);
        fixture.store().itemStatuses = {};
        drainEvents();
        QCOMPARE(painted.count, 0);
        QCOMPARE(fixture.merchants().size(), 500);
        QCOMPARE(fixture.merchants().last(), u"Merchant 499"_s);
        fixture.store().timeline = ledgerOfLength(499);
        QVERIFY(waitUntil([&] { return painted.count > 0; }));
        QCOMPARE(fixture.merchants().size(), 499);
    }

    void aLiveLedgerThatArrivesUnderASnapshotPaintsNothing() {
        Fixture fixture;
        fixture.show({{.merchant = u"today"_s}});
        fixture.store().snapshotTimeline = ledgerOf({{.merchant = u"then"_s}});
        fixture.store().selectedSnapshotDate = u"2024-04-30"_s;
        drainEvents();
        QCOMPARE(fixture.merchants(), QStringList{u"then"_s});
        PaintCounter painted(*fixture.table().viewport());
        fixture.show({{.merchant = u"tomorrow"_s}});
        QCOMPARE(painted.count, 0);
        QCOMPARE(fixture.merchants(), QStringList{u"then"_s});
        fixture.store().selectedSnapshotDate = std::nullopt;
        fixture.store().snapshotTimeline = std::nullopt;
        drainEvents();
        QCOMPARE(fixture.merchants(), QStringList{u"tomorrow"_s});
    }

    void aLedgerThatGoesAndComesAgainIsFollowed() {
        Fixture fixture;
        fixture.show({{.merchant = u"A"_s}});
        fixture.store().timeline = std::nullopt;
        fixture.store().timeline = ledgerOf({{.merchant = u"B"_s}});
        fixture.store().timeline = ledgerOf({{.merchant = u"B"_s}});
        drainEvents();
        QCOMPARE(fixture.merchants(), QStringList{u"B"_s});
        fixture.store().timeline = std::nullopt;
        drainEvents();
        QCOMPARE(fixture.merchants(), QStringList());
    }

    void tabGoesThroughEveryControlInOrder() {
        Fixture fixture;
        fixture.show({{}});
        fixture.table().setFocus();
        QList<QWidget*> reached;
        for (int step = 0; step < 5; ++step) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            reached += QApplication::focusWidget();
        }
        QCOMPARE(reached, (QList<QWidget*>{&fixture.search(), fixture.button(u"Pull updates"_s),
                                           fixture.button(u"Pull from bank"_s),
                                           fixture.view->findChild<QComboBox*>(), &fixture.table()}));
    }

    void buttonsAnswerToTheSpaceBar() {
        Fixture fixture;
        fixture.button(u"Pull from bank"_s)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QVERIFY(waitUntil([&] { return fixture.backend().count(target::refresh) == 1; }));
    }

    void aWindowThatWasMinimisedKeepsTheFocusWhereItWas() {
        Fixture fixture;
        fixture.search().setFocus();
        QShowEvent event;
        QSpontaneKeyEvent::setSpontaneous(&event);
        qApp->notify(fixture.view.get(), &event);
        QVERIFY(fixture.search().hasFocus());
    }

    void aNewViewStartsAfresh() {
        Fixture fixture;
        fixture.show({{.date = u"2024-05-01"_s, .merchant = u"A"_s, .amount = 9},
                      {.date = u"2024-05-02"_s, .merchant = u"B"_s, .amount = 1}});
        fixture.search().setText(u"A"_s);
        fixture.table().horizontalHeader()->sectionClicked(2);
        fixture.view.reset();
        fixture.view = fixture.shown<LedgerView>();
        QCOMPARE(fixture.search().text(), QString());
        QCOMPARE(fixture.merchants(), (QStringList{u"B"_s, u"A"_s}));
        QVERIFY(fixture.table().hasFocus());
    }

    void rightToLeftDesktopsGetAMirroredWindow() {
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        {
            Fixture fixture;
            fixture.show({{.merchant = u"مقهى"_s, .isPending = true}, {.merchant = u"Shop"_s}});
            fixture.view->grab();
            QVERIFY(fixture.button(u"Pull updates"_s)->x() < fixture.search().x());
        }
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    }
};

QUILLO_TEST(LedgerViewTest, QApplication)
#include "LedgerViewTest.moc"
