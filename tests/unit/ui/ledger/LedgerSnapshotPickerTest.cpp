#include "support/LoopStallProbe.h"
#include "ui/ledger/LedgerViewFixture.h"

#include <QAbstractItemView>
#include <QWheelEvent>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

SnapshotSummary day(const QString& date) {
    return {.snapshotDate = date, .totalWithPending = 1};
}

/// The view on the screen, with two days to pick.
struct Fixture : LedgerViewFixture {
    Fixture() { offer({day(u"2024-04-30"_s), day(u"2024-04-29"_s)}); }

    [[nodiscard]] QStringList entries() const {
        QStringList all;
        for (int entry = 0; entry < picker().count(); ++entry) {
            all += picker().itemText(entry);
        }
        return all;
    }

    void offer(const std::vector<SnapshotSummary>& days) {
        state.days = days;
        render();
    }

    /// As a person does: opens the list, goes to the entry, presses Return.
    void pick(int entry) const {
        picker().showPopup();
        auto* list = picker().view();
        list->setCurrentIndex(picker().model()->index(entry, 0));
        QTest::keyClick(list, Qt::Key_Return);
    }
};

} // namespace

/// Going from the live ledger to a past day and back.
class LedgerSnapshotPickerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void openingTheWindowFetchesTheListAndNoDay() {
        const Fixture fixture;
        QCOMPARE(fixture.entries(), (QStringList{u"Live"_s, u"2024-04-30 · $1"_s, u"2024-04-29 · $1"_s}));
        QCOMPARE(fixture.picker().currentText(), u"Live"_s);
        QCOMPARE(fixture.listsBegun, 1);
        QCOMPARE(fixture.asked, QStringList());
    }

    void closingTheWindowGivesUpTheList() {
        Fixture fixture;
        QCOMPARE(fixture.listsUnderWay, 1);
        fixture.view->hide();
        QCOMPARE(fixture.listsUnderWay, 0);
        fixture.view->show();
        QCOMPARE(fixture.listsUnderWay, 1);
        QCOMPARE(fixture.listsBegun, 2);
        fixture.view.reset();
        QCOMPARE(fixture.listsUnderWay, 0);
    }

    void anEntrySaysWhatWasOwedAsFarAsIsKnown() {
        Fixture fixture;
        fixture.offer({{.snapshotDate = u"c"_s, .totalOwed = 1, .totalWithPending = 1234.5},
                       {.snapshotDate = u"a"_s, .totalOwed = 87.5},
                       {.snapshotDate = u"b"_s},
                       {.snapshotDate = u"d"_s, .totalWithPending = -12.7}});
        QCOMPARE(fixture.entries(),
                 (QStringList{u"Live"_s, u"c · $1,234"_s, u"a · $88"_s, u"b · $0"_s, u"d · -$13"_s}));
    }

    void withoutSnapshotsThereIsOnlyLive() {
        Fixture fixture;
        fixture.offer({});
        QCOMPARE(fixture.entries(), QStringList{u"Live"_s});
    }

    void aDayIsAskedForAndTheBannersButtonLeadsBack() {
        Fixture fixture;
        fixture.pick(2);
        QCOMPARE(fixture.asked, QStringList{u"2024-04-29"_s});
        auto ledger = ledgerOf({});
        ledger.totalOwed = 29;
        fixture.lookAt(u"2024-04-29"_s, ledger);
        QCOMPARE(fixture.picker().currentText(), u"2024-04-29 · $1"_s);
        QVERIFY(fixture.texts().contains(u"$29.00"_s));
        fixture.button(u"Back to live"_s)->click();
        QCOMPARE(fixture.asked, (QStringList{u"2024-04-29"_s, u"live"_s}));
        QCOMPARE(fixture.picker().currentText(), u"Live"_s);
        fixture.state.day = std::nullopt;
        fixture.render();
        QVERIFY(!fixture.button(u"Back to live"_s));
    }

    void pickingLiveWhileAlreadyLiveStillAsksForIt() {
        Fixture fixture;
        fixture.pick(0);
        QCOMPARE(fixture.asked, QStringList{u"live"_s});
    }

    void aReopenedWindowSaysLiveShowsTheDayAndLeadsBack() {
        Fixture fixture;
        fixture.lookAt(u"2024-04-30"_s, ledgerOf({{.merchant = u"then"_s}}));
        fixture.open();
        QCOMPARE(fixture.picker().currentText(), u"Live"_s);
        QCOMPARE(fixture.merchants(), QStringList{u"then"_s});
        QVERIFY(!fixture.button(u"Pull updates"_s)->isEnabled());
        fixture.button(u"Back to live"_s)->click();
        fixture.pick(0);
        QCOMPARE(fixture.asked, (QStringList{u"live"_s, u"live"_s}));
    }

    void aDayIsAskedForAsItIsWhateverIsInIt() {
        Fixture fixture;
        fixture.offer({day(u"2024/04?day=30&x"_s), day(u"2024\n05"_s)});
        fixture.pick(1);
        QCOMPARE(fixture.picker().itemText(2), u"2024 05 · $1"_s);
        fixture.pick(2);
        QCOMPARE(fixture.asked, (QStringList{u"2024/04?day=30&x"_s, u"2024\n05"_s}));
    }

    void theChoiceStaysWhenTheListIsFetchedAnew() {
        Fixture fixture;
        fixture.pick(2);
        fixture.offer({day(u"2024-05-01"_s), day(u"2024-04-30"_s), day(u"2024-04-29"_s)});
        QCOMPARE(fixture.picker().currentText(), u"2024-04-29 · $1"_s);
        fixture.offer({day(u"2024-05-01"_s)});
        QCOMPARE(fixture.picker().currentText(), QString());
        fixture.offer({day(u"2024-04-29"_s)});
        QCOMPARE(fixture.picker().currentText(), u"2024-04-29 · $1"_s);
        QCOMPARE(fixture.asked, QStringList{u"2024-04-29"_s});
    }

    void wheelTurnsOverThePickerChangeNothing() {
        Fixture fixture;
        QWheelEvent turn({5, 5}, fixture.picker().mapToGlobal(QPointF(5, 5)), {}, {0, -120}, {}, {}, {},
                         false);
        QCoreApplication::sendEvent(&fixture.picker(), &turn);
        QCOMPARE(fixture.picker().currentText(), u"Live"_s);
        QCOMPARE(fixture.asked, QStringList());
    }

    void longDatesLeaveTheToolbarInItsWindow() {
        Fixture fixture;
        fixture.offer({day(QString(10'000, u'9'))});
        QVERIFY2(fixture.picker().width() <= 300, qPrintable(QString::number(fixture.picker().width())));
    }

    void tenThousandSnapshotsAreListedWithoutStallingTheLoop() {
        Fixture fixture;
        std::vector<SnapshotSummary> days;
        for (int number = 0; number < 10'000; ++number) {
            days.push_back(day(u"day-%1"_s.arg(number)));
        }
        LoopStallProbe probe;
        fixture.offer(days);
        QCOMPARE(fixture.picker().count(), 10'001);
        const auto stall = probe.longestStall();
        QVERIFY2(stall <= LoopStallProbe::budget, qPrintable(u"%1 ms"_s.arg(stall.count())));
        fixture.pick(10'000);
        QCOMPARE(fixture.asked, QStringList{u"day-9999"_s});
    }
};

QTEST_MAIN(LedgerSnapshotPickerTest)
#include "LedgerSnapshotPickerTest.moc"
