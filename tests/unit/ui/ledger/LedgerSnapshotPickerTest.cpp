#include "ui/ledger/LedgerView.h"

#include "support/LoopStallProbe.h"
#include "support/TestMain.h"
#include "ui/ledger/LedgerFixture.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QWheelEvent>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// The view on the screen, with two days to pick.
struct Fixture : LedgerSurroundings {
    Fixture() {
        backend().answer(target::snapshots, Answer::http(200, snapshotsBody({"2024-04-30", "2024-04-29"})));
        backend().answer("/api/snapshot/2024-04-30", Answer::http(200, ledgerBody(30)));
        backend().answer("/api/snapshot/2024-04-29", Answer::http(200, ledgerBody(29)));
        open();
    }

    /// A window of the program shows a new view each time it opens.
    void open() {
        view.reset();
        const auto before = backend().count(target::snapshots);
        view = shown<LedgerView>();
        if (!waitUntil(
                [&] { return backend().count(target::snapshots) == before + 1 && picker().count() > 1; })) {
            qFatal("no list");
        }
        drainEvents();
    }

    [[nodiscard]] QComboBox& picker() const { return *view->findChild<QComboBox*>(); }

    [[nodiscard]] QStringList entries() const {
        QStringList all;
        for (int entry = 0; entry < picker().count(); ++entry) {
            all += picker().itemText(entry);
        }
        return all;
    }

    void offer(const std::vector<SnapshotSummary>& days) {
        store().availableSnapshots = days;
        drainEvents();
    }

    /// As a person does: opens the list, goes to the entry, presses Return.
    void pick(int entry) {
        picker().showPopup();
        auto* list = picker().view();
        list->setCurrentIndex(picker().model()->index(entry, 0));
        QTest::keyClick(list, Qt::Key_Return);
    }

    [[nodiscard]] bool showsSnapshot(const QString& date) {
        return waitUntil([&] { return *store().selectedSnapshotDate == std::optional(date); });
    }

    std::unique_ptr<LedgerView> view;
};

SnapshotSummary day(const QString& date) {
    return {.snapshotDate = date, .totalWithPending = 1};
}

} // namespace

/// Going from the live ledger to a past day and back.
class LedgerSnapshotPickerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { leaveSessionBus(); }

    void openingTheWindowFetchesTheListAndNoDay() {
        const Fixture fixture;
        QCOMPARE(fixture.entries(), (QStringList{u"Live"_s, u"2024-04-30 · $0"_s, u"2024-04-29 · $0"_s}));
        QCOMPARE(fixture.picker().currentText(), u"Live"_s);
        QCOMPARE(fixture.surroundings.backend.count(), fixture.surroundings.backend.count(target::snapshots));
    }

    void closingTheWindowGivesUpTheList() {
        Fixture fixture;
        const Gate gate;
        fixture.backend().answer(target::snapshots, Answer::http(500).behind(gate));
        fixture.view->hide();
        fixture.view->show();
        QVERIFY(waitUntil([&] { return fixture.backend().count(target::snapshots) == 2; }));
        fixture.view->hide();
        gate.open();
        QVERIFY(waitUntil([&] { return fixture.backend().openConnections() == 0; }));
        drainEvents();
        QVERIFY(!fixture.store().lastError->has_value());
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

    void aDayIsShownAndTheBannersButtonLeadsBack() {
        Fixture fixture;
        fixture.pick(2);
        QVERIFY(fixture.showsSnapshot(u"2024-04-29"_s));
        drainEvents();
        QCOMPARE(fixture.picker().currentText(), u"2024-04-29 · $0"_s);
        QVERIFY(visibleTexts(*fixture.view).contains(u"$29.00"_s));
        visibleButton(*fixture.view, u"Back to live"_s)->click();
        drainEvents();
        QVERIFY(!fixture.store().isViewingSnapshot());
        QCOMPARE(fixture.picker().currentText(), u"Live"_s);
        QVERIFY(!visibleButton(*fixture.view, u"Back to live"_s));
    }

    void pickingLiveWhileAlreadyLiveStillGoesLive() {
        Fixture fixture;
        using Date = Published<std::optional<QString>>;
        int announced = 0;
        const auto observation = fixture.store().selectedSnapshotDate.observe(
            Date::Current::skip, Date::Repeats::deliver,
            [&](const std::optional<QString>& date) { announced += date ? 100 : 1; });
        fixture.pick(0);
        drainEvents();
        QCOMPARE(announced, 1);
    }

    void aReopenedWindowSaysLiveShowsTheDayAndLeadsBack() {
        Fixture fixture;
        fixture.pick(1);
        QVERIFY(fixture.showsSnapshot(u"2024-04-30"_s));
        fixture.open();
        QCOMPARE(fixture.picker().currentText(), u"Live"_s);
        QVERIFY(fixture.store().isViewingSnapshot());
        QVERIFY(visibleTexts(*fixture.view).contains(u"$30.00"_s));
        QVERIFY(!visibleButton(*fixture.view, u"Pull updates"_s)->isEnabled());
        visibleButton(*fixture.view, u"Back to live"_s)->click();
        QVERIFY(!fixture.store().isViewingSnapshot());
    }

    void aReopenedWindowsPickerLeadsBackToo() {
        Fixture fixture;
        fixture.pick(1);
        QVERIFY(fixture.showsSnapshot(u"2024-04-30"_s));
        fixture.open();
        fixture.pick(0);
        drainEvents();
        QVERIFY(!fixture.store().isViewingSnapshot());
    }

    void aDayThatVanishedSinceItWasListedLeavesTheLedgerAndCanBeTriedAgain() {
        Fixture fixture;
        const QByteArray target = "/api/snapshot/2024-04-30";
        fixture.store().timeline = ledgerOf({{}});
        fixture.backend().answer(target, Answer::http(404));
        fixture.pick(1);
        QVERIFY(waitUntil(
            [&] { return *fixture.store().lastError == std::optional(u"Snapshot fetch: HTTP 404"_s); }));
        QVERIFY(!fixture.store().isViewingSnapshot());
        QVERIFY(visibleTexts(*fixture.view).contains(u"OWED NOW"_s));
        fixture.backend().answer(target, Answer::http(200, ledgerBody(30)));
        fixture.pick(1);
        QVERIFY(fixture.showsSnapshot(u"2024-04-30"_s));
    }

    void aDayIsAskedForAsItIsWhateverIsInIt() {
        Fixture fixture;
        fixture.offer({day(u"2024/04?day=30&x"_s)});
        fixture.backend().answer("/api/snapshot/2024/04?day=30&x", Answer::http(200, ledgerBody(31)));
        const auto before = fixture.backend().count();
        fixture.pick(1);
        QVERIFY(fixture.showsSnapshot(u"2024/04?day=30&x"_s));
        drainEvents();
        QCOMPARE(fixture.backend().count(), before + 1);
        QCOMPARE(fixture.backend().count("/api/snapshot/2024/04?day=30&x"), 1);
        QVERIFY(visibleTexts(*fixture.view).contains(u"$31.00"_s));
    }

    void theChoiceStaysWhenTheListIsFetchedAnew() {
        Fixture fixture;
        fixture.pick(2);
        QVERIFY(fixture.showsSnapshot(u"2024-04-29"_s));
        fixture.offer({day(u"2024-05-01"_s), day(u"2024-04-30"_s), day(u"2024-04-29"_s)});
        QCOMPARE(fixture.picker().currentText(), u"2024-04-29 · $1"_s);
        fixture.offer({day(u"2024-05-01"_s)});
        QCOMPARE(fixture.picker().currentText(), QString());
        QVERIFY(fixture.showsSnapshot(u"2024-04-29"_s));
        fixture.offer({day(u"2024-04-29"_s)});
        QCOMPARE(fixture.picker().currentText(), u"2024-04-29 · $1"_s);
    }

    void wheelTurnsOverThePickerChangeNothing() {
        Fixture fixture;
        QWheelEvent turn({5, 5}, fixture.picker().mapToGlobal(QPointF(5, 5)), {}, {0, -120}, {}, {}, {},
                         false);
        QCoreApplication::sendEvent(&fixture.picker(), &turn);
        QCOMPARE(fixture.picker().currentText(), u"Live"_s);
    }

    void longAndBrokenDatesLeaveTheToolbarInItsWindow() {
        Fixture fixture;
        fixture.offer({day(QString(10'000, u'9')), day(u"2024\n05"_s)});
        QCOMPARE(fixture.picker().itemText(2), u"2024 05 · $1"_s);
        QVERIFY2(fixture.picker().width() <= 300, qPrintable(QString::number(fixture.picker().width())));
        fixture.pick(2);
        QVERIFY(waitUntil([&] { return fixture.store().lastError->has_value(); }));
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
        QVERIFY(waitUntil([&] { return fixture.store().lastError->has_value(); }));
        QCOMPARE(fixture.backend().count("/api/snapshot/day-9999"), 1);
    }
};

QUILLO_TEST(LedgerSnapshotPickerTest, QApplication)
#include "LedgerSnapshotPickerTest.moc"
