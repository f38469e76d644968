#include "ui/ledger/LedgerView.h"

#include "support/LoopStallProbe.h"
#include "ui/Spinner.h"
#include "ui/ledger/LedgerViewFixture.h"

#include <QHeaderView>
#include <QScrollBar>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

Spinner& toolbarSpinner(const LedgerViewFixture& fixture) {
    const auto all = fixture.view->findChildren<Spinner*>();
    return **std::ranges::find_if(all, [&](const auto* each) {
        return each->parentWidget() == fixture.button(u"Pull updates"_s)->parentWidget();
    });
}

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

/// The ledger window's content: toolbar, search, keys, and how it follows what there is to show.
class LedgerViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theToolbarHasItsControlsInOrder() {
        LedgerViewFixture fixture;
        fixture.state.isLoading = true;
        fixture.render();
        const QList<QWidget*> controls{&fixture.search(), &toolbarSpinner(fixture),
                                       fixture.button(u"Pull updates"_s), fixture.button(u"Pull from bank"_s),
                                       &fixture.picker()};
        for (qsizetype index = 1; index < controls.size(); ++index) {
            QVERIFY(controls.at(index - 1)->geometry().right() < controls.at(index)->geometry().left());
        }
        QCOMPARE(fixture.search().placeholderText(), u"Filter merchants"_s);
        QCOMPARE(fixture.button(u"Pull updates"_s)->toolTip(),
                 u"Fast + free. Re-reads Plaid's cached copy of your bank data."_s);
        QCOMPARE(fixture.button(u"Pull from bank"_s)->toolTip(),
                 u"Slow (~30s–2min). Asks Plaid to re-pull from your bank. Rate-limited + metered."_s);
        QCOMPARE(fixture.picker().toolTip(),
                 u"Switch between the live ledger and any daily snapshot from the past 90 days."_s);
        QVERIFY(!fixture.button(u"Pull updates"_s)->icon().isNull());
        QVERIFY(!fixture.button(u"Pull from bank"_s)->icon().isNull());
    }

    void somethingTurnsDuringARefreshAndMovesNoButton() {
        LedgerViewFixture fixture;
        auto& spinner = toolbarSpinner(fixture);
        QVERIFY(!spinner.isVisible());
        const auto before = fixture.button(u"Pull updates"_s)->geometry();
        fixture.state.isLoading = true;
        fixture.render();
        QVERIFY(spinner.isVisible());
        QCOMPARE(fixture.button(u"Pull updates"_s)->geometry(), before);
        fixture.state.isLoading = false;
        fixture.render();
        QVERIFY(!spinner.isVisible());
    }

    void somethingTurnsWhileALargeLedgerIsPrepared() {
        LedgerViewFixture fixture;
        fixture.state.live = published(ledgerOfLength(50'000));
        fixture.view->render(fixture.state);
        QVERIFY(toolbarSpinner(fixture).isVisible());
        QVERIFY(waitUntil([&] { return fixture.table().model()->rowCount() == 50'000; }));
        QVERIFY(waitUntil([&] { return !toolbarSpinner(fixture).isVisible(); }));
    }

    void figuresAndLinesAreAlwaysOfOneLedger() {
        LedgerViewFixture fixture;
        auto live = ledgerOf({{.merchant = u"today"_s}});
        live.totalOwed = 1;
        fixture.show(live);
        auto then = ledgerOfLength(50'000);
        then.totalOwed = 2;
        fixture.state.day = Day{.date = u"2024-04-30"_s, .ledger = published(std::move(then))};
        fixture.view->render(fixture.state);
        QVERIFY(fixture.texts().contains(u"$1.00"_s));
        QVERIFY(!fixture.button(u"Back to live"_s));
        QCOMPARE(fixture.merchants(), QStringList{u"today"_s});
        QVERIFY(waitUntil([&] { return fixture.table().model()->rowCount() == 50'000; }));
        QVERIFY(fixture.texts().contains(u"$2.00"_s));
        QVERIFY(fixture.button(u"Back to live"_s));
    }

    void buttonsAskForTheirUpdates() {
        LedgerViewFixture fixture;
        fixture.button(u"Pull updates"_s)->click();
        fixture.button(u"Pull from bank"_s)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QVERIFY(waitUntil([&] { return fixture.asked.size() == 2; }));
        QCOMPARE(fixture.asked, (QStringList{u"pull updates"_s, u"pull from bank"_s}));
    }

    void theBannersButtonMendsTheLink() {
        LedgerViewFixture fixture;
        fixture.state.links = std::vector{ItemStatus{.needsUpdate = true}};
        fixture.render();
        fixture.button(u"Reconnect now"_s)->click();
        QCOMPARE(fixture.asked, QStringList{u"reconnect"_s});
    }

    void nothingCanBePulledWhileASnapshotIsShown() {
        LedgerViewFixture fixture;
        fixture.lookAt(u"2024-04-30"_s, ledgerOf({{}}));
        QVERIFY(!fixture.button(u"Pull updates"_s)->isEnabled());
        QVERIFY(!fixture.button(u"Pull from bank"_s)->isEnabled());
        QTest::mouseClick(fixture.button(u"Pull updates"_s), Qt::LeftButton);
        QCOMPARE(fixture.asked, QStringList());
        fixture.state.day = std::nullopt;
        fixture.render();
        QVERIFY(fixture.button(u"Pull updates"_s)->isEnabled());
        QVERIFY(fixture.button(u"Pull from bank"_s)->isEnabled());
    }

    void typingFiltersAndEscapeShowsEverythingAgain() {
        LedgerViewFixture fixture;
        fixture.show(ledgerOf({{.merchant = u"Blue Bottle Coffee"_s}, {.merchant = u"Grocer"_s}}));
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
        LedgerViewFixture fixture;
        auto ledger = ledgerOf({{.merchant = u"Shop"_s}, {.merchant = u"Grocer"_s}});
        ledger.transactions[0].name = Text(u"ACME STORE 42"_s);
        fixture.show(ledger);
        fixture.search().setText(u"acme"_s);
        QCOMPARE(fixture.merchants(), QStringList{u"Shop"_s});
    }

    void searchAndOrderStayWhenARefreshBringsAnotherLedger() {
        LedgerViewFixture fixture;
        fixture.show(ledgerOf({{.merchant = u"Cafe 1"_s, .amount = 1}, {.merchant = u"Grocer"_s}}));
        fixture.search().setText(u"cafe"_s);
        fixture.table().horizontalHeader()->sectionClicked(2);
        fixture.show(ledgerOf({{.merchant = u"Cafe 1"_s, .amount = 1},
                               {.merchant = u"Grocer"_s},
                               {.merchant = u"Cafe 2"_s, .amount = 2}}));
        QCOMPARE(fixture.merchants(), (QStringList{u"Cafe 2"_s, u"Cafe 1"_s}));
    }

    void aRefreshThatBringsNothingNewPaintsNothing() {
        LedgerViewFixture fixture;
        fixture.show(ledgerOfLength(500));
        PaintCounter painted(*fixture.table().viewport());
        fixture.show(ledgerOfLength(500));
        QCOMPARE(painted.count, 0);
        QCOMPARE(fixture.table().ledger(), fixture.state.live); // the one before is let go
        QCOMPARE(fixture.merchants().size(), 500);
        fixture.show(ledgerOfLength(499));
        QVERIFY(waitUntil([&] { return painted.count > 0; }));
        QCOMPARE(fixture.merchants().size(), 499);
    }

    void aLiveLedgerThatArrivesUnderASnapshotPaintsNothing() {
        LedgerViewFixture fixture;
        fixture.show(ledgerOf({{.merchant = u"today"_s}}));
        fixture.lookAt(u"2024-04-30"_s, ledgerOf({{.merchant = u"then"_s}}));
        QCOMPARE(fixture.merchants(), QStringList{u"then"_s});
        PaintCounter painted(*fixture.table().viewport());
        fixture.show(ledgerOf({{.merchant = u"tomorrow"_s}}));
        QCOMPARE(painted.count, 0);
        QCOMPARE(fixture.merchants(), QStringList{u"then"_s});
        fixture.state.day = std::nullopt;
        fixture.render();
        QCOMPARE(fixture.merchants(), QStringList{u"tomorrow"_s});
    }

    void aLedgerThatGoesAndComesAgainIsFollowed() {
        LedgerViewFixture fixture;
        fixture.show(ledgerOf({{.merchant = u"A"_s}}));
        fixture.state.live = nullptr;
        fixture.view->render(fixture.state);
        fixture.show(ledgerOf({{.merchant = u"B"_s}}));
        QCOMPARE(fixture.merchants(), QStringList{u"B"_s});
        fixture.state.live = nullptr;
        fixture.render();
        QCOMPARE(fixture.merchants(), QStringList());
    }

    void tabGoesThroughEveryControlInOrder() {
        LedgerViewFixture fixture;
        fixture.show(ledgerOf({{}}));
        fixture.table().setFocus();
        QList<QWidget*> reached;
        for (int step = 0; step < 5; ++step) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            reached += QApplication::focusWidget();
        }
        QCOMPARE(reached,
                 (QList<QWidget*>{&fixture.search(), fixture.button(u"Pull updates"_s),
                                  fixture.button(u"Pull from bank"_s), &fixture.picker(), &fixture.table()}));
    }

    void aWindowThatWasMinimisedKeepsTheFocusWhereItWas() {
        LedgerViewFixture fixture;
        fixture.search().setFocus();
        QShowEvent event;
        QSpontaneKeyEvent::setSpontaneous(&event);
        qApp->notify(fixture.view.get(), &event);
        QVERIFY(fixture.search().hasFocus());
    }

    void aNewViewStartsAfresh() {
        LedgerViewFixture fixture;
        fixture.show(ledgerOf({{.date = u"2024-05-01"_s, .merchant = u"A"_s, .amount = 9},
                               {.date = u"2024-05-02"_s, .merchant = u"B"_s, .amount = 1}}));
        fixture.search().setText(u"A"_s);
        fixture.table().horizontalHeader()->sectionClicked(2);
        fixture.open();
        QCOMPARE(fixture.search().text(), QString());
        QCOMPARE(fixture.merchants(), (QStringList{u"B"_s, u"A"_s}));
        QVERIFY(fixture.table().hasFocus());
    }

    void rightToLeftDesktopsGetAMirroredWindow() {
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        {
            LedgerViewFixture fixture;
            fixture.show(ledgerOf({{.merchant = u"مقهى"_s, .isPending = true}, {.merchant = u"Shop"_s}}));
            fixture.view->grab();
            QVERIFY(fixture.button(u"Pull updates"_s)->x() < fixture.search().x());
        }
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    }
};

QTEST_MAIN(LedgerViewTest)
#include "LedgerViewTest.moc"
