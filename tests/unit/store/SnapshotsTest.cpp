#include "store/StoreFixture.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto signInFirst = u"Sign in to Quillo (menu → Sign In…)"_s;
const QByteArray firstDay = "/api/snapshot/2024-04-30";
const QByteArray secondDay = "/api/snapshot/2024-04-29";

/// What the store shows.
double shownBalance(const AppStore& store) {
    return store.visibleTimeline() ? store.visibleTimeline()->totalOwed : -1;
}

} // namespace

/// Looking at a past day.
class SnapshotsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { keyring.start(); }
    void init() {
        fixture = std::make_unique<StoreFixture>();
        fixture->backend.answer(firstDay, Answer::http(200, ledgerBody(30)));
        fixture->backend.answer(secondDay, Answer::http(200, ledgerBody(29)));
    }
    void cleanup() { fixture.reset(); }

    void atStartTheLiveLedgerIsShownOnceItIsThere() {
        auto& store = fixture->start();
        QVERIFY(!store.isViewingSnapshot());
        QCOMPARE(store.visibleTimeline(), nullptr);
        QVERIFY((*store.availableSnapshots)->empty());
        fixture->stop();
        auto& refreshed = fixture->startRefreshed();
        QVERIFY(!refreshed.isViewingSnapshot());
        QCOMPARE(refreshed.visibleTimeline(), refreshed.timeline.get());
    }

    void selectingADayShowsItsLedger() {
        auto& store = fixture->startRefreshed();
        await(store.loadSnapshot(u"2024-04-30"_s));
        QVERIFY(store.isViewingSnapshot());
        QCOMPARE(store.selectedSnapshotDate(), std::optional(u"2024-04-30"_s));
        QCOMPARE(store.visibleTimeline(), store.snapshotTimeline());
        QCOMPARE(shownBalance(store), 30.0);
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
        QVERIFY(!store.snapshotTimeline()->fetchedAt.has_value());
        const auto request = fixture->backend.requests(firstDay).at(0);
        QCOMPARE(request.method, QByteArray("GET"));
        QCOMPARE(request.values("X-API-Key"), QList<QByteArray>{StoreFixture::apiKey});
    }

    void aDayIsAnnouncedTogetherWithItsLedger() {
        auto& store = fixture->startRefreshed();
        using Selected = Published<std::optional<Day>>;
        QStringList order;
        const auto selection =
            store.selectedDay.observe(Selected::Repeats::deliver, [&](const std::optional<Day>& next) {
                order.append(next && next->ledger ? next->date : u"live"_s);
            });
        await(store.loadSnapshot(u"2024-04-30"_s));
        await(store.loadSnapshot(std::nullopt));
        QCOMPARE(order, (QStringList{u"2024-04-30"_s, u"live"_s}));
    }

    void anEmptyDateIsLikeNone_data() {
        QTest::addColumn<bool>("present");
        QTest::newRow("absent") << false;
        QTest::newRow("empty") << true;
    }
    void anEmptyDateIsLikeNone() {
        QFETCH(bool, present);
        auto& store = fixture->startRefreshed();
        await(store.loadSnapshot(u"2024-04-30"_s));
        const auto before = fixture->backend.count();
        const auto task = store.loadSnapshot(present ? std::optional(QString()) : std::nullopt);
        QVERIFY(task.isFinished()); // at once
        QVERIFY(!store.isViewingSnapshot());
        QVERIFY(!store.snapshotTimeline());
        QCOMPARE(shownBalance(store), 1234.5);
        drainEvents();
        QCOMPARE(fixture->backend.count(), before);
    }

    void theSelectionSurvivesARefresh() {
        auto& store = fixture->startRefreshed();
        await(store.loadSnapshot(u"2024-04-30"_s));
        fixture->backend.answer(target::timeline, Answer::http(200, ledgerBody(2)));
        await(store.refresh());
        QCOMPARE((*store.timeline)->totalOwed, 2.0);
        QCOMPARE(shownBalance(store), 30.0);
        QCOMPARE(fixture->backend.count(firstDay), 1);
        await(store.loadSnapshot(std::nullopt));
        QCOMPARE(shownBalance(store), 2.0);
    }

    void aSelectionWithoutItsLedgerShowsNothingRatherThanTheLiveOne() {
        auto& store = fixture->startRefreshed();
        store.selectedDay = Day{.date = u"2024-04-30"_s, .ledger = nullptr};
        QVERIFY(store.isViewingSnapshot());
        QCOMPARE(store.visibleTimeline(), nullptr);
        QCOMPARE(store.state().visible(), nullptr);
    }

    void aDayThatCannotBeFetchedLeavesTheEarlierOneOnScreen() {
        auto& store = fixture->startRefreshed();
        await(store.loadSnapshot(u"2024-04-30"_s));
        fixture->backend.answer(secondDay, Answer::http(404));
        await(store.loadSnapshot(u"2024-04-29"_s));
        QCOMPARE(*store.lastError, std::optional(u"Snapshot fetch: HTTP 404"_s));
        QCOMPARE(store.selectedSnapshotDate(), std::optional(u"2024-04-30"_s));
        QCOMPARE(shownBalance(store), 30.0);
    }

    void aDayThatCannotBeFetchedLeavesTheLiveLedgerOnScreen() {
        auto& store = fixture->startRefreshed();
        fixture->backend.answer(firstDay, Answer::http(500));
        await(store.loadSnapshot(u"2024-04-30"_s));
        QCOMPARE(*store.lastError, std::optional(u"Snapshot fetch: HTTP 500"_s));
        QVERIFY(!store.isViewingSnapshot());
        QCOMPARE(shownBalance(store), 1234.5);
    }

    void aDayWithAWrongBodyNamesTheMember() {
        auto& store = fixture->startRefreshed();
        fixture->backend.answer(firstDay, Answer::http(200, ledgerBody(1, 0, R"([{"amount":1}])")));
        await(store.loadSnapshot(u"2024-04-30"_s));
        QCOMPARE(store.lastError->value_or(QString()), u"Snapshot fetch: transactions[0].date: missing"_s);
        QVERIFY(!store.isViewingSnapshot());
    }

    void aDayThatArrivesDoesNotClearTheError() {
        auto& store = fixture->startRefreshed();
        store.lastError = u"before"_s;
        await(store.loadSnapshot(u"2024-04-30"_s));
        await(store.loadSnapshots());
        QCOMPARE(*store.lastError, std::optional(u"before"_s));
        await(store.refresh());
        QVERIFY(!store.lastError->has_value());
    }

    void ofTwoDaysThatOverlapTheLastToArriveWins() {
        auto& store = fixture->startRefreshed();
        const Gate first;
        const Gate second;
        fixture->backend.answer(firstDay, Answer::http(200, ledgerBody(30)).behind(first));
        fixture->backend.answer(secondDay, Answer::http(200, ledgerBody(29)).behind(second));
        auto thirtieth = store.loadSnapshot(u"2024-04-30"_s);
        auto twentyNinth = store.loadSnapshot(u"2024-04-29"_s);
        second.open();
        await(std::move(twentyNinth));
        QCOMPARE(shownBalance(store), 29.0);
        first.open();
        await(std::move(thirtieth));
        QCOMPARE(shownBalance(store), 30.0);
        QCOMPARE(store.selectedSnapshotDate(), std::optional(u"2024-04-30"_s));
    }

    void loadSnapshotsReplacesTheListAsItCame() {
        auto& store = fixture->startRefreshed();
        fixture->backend.answer(target::snapshots,
                                Answer::http(200, snapshotsBody({"2024-01-02", "2024-03-04", "2023-05-06"})));
        int loading = 0;
        const auto observation =
            store.isLoading.observe(Published<bool>::Repeats::deliver, [&](bool) { ++loading; });
        await(store.loadSnapshots());
        QStringList dates;
        for (const auto& day : **store.availableSnapshots) {
            dates.append(day.snapshotDate);
        }
        QCOMPARE(dates, (QStringList{u"2024-01-02"_s, u"2024-03-04"_s, u"2023-05-06"_s}));
        QCOMPARE(loading, 0);
        QCOMPARE(fixture->refreshes(), 1);
    }

    void aListThatCannotBeFetchedKeepsTheLastOne() {
        auto& store = fixture->startRefreshed();
        fixture->backend.answer(target::snapshots, Answer::http(503));
        await(store.loadSnapshots());
        QCOMPARE(*store.lastError, std::optional(u"Snapshots: HTTP 503"_s));
        QCOMPARE((*store.availableSnapshots)->size(), std::size_t{1});
        fixture->backend.answer(target::snapshots, Answer::http(200, "{}"));
        await(store.loadSnapshots());
        QCOMPARE(store.lastError->value_or(QString()), u"Snapshots: snapshots: missing"_s);
    }

    void withoutCredentialsNothingIsFetchedAndTheSelectionStays() {
        auto& store = fixture->startRefreshed();
        await(store.loadSnapshot(u"2024-04-30"_s));
        store.settings.apiKey = QString();
        const auto before = fixture->backend.count();
        await(store.loadSnapshot(u"2024-04-29"_s));
        QCOMPARE(*store.lastError, std::optional(signInFirst));
        QCOMPARE(shownBalance(store), 30.0);
        store.lastError = std::nullopt;
        await(store.loadSnapshots());
        QCOMPARE(*store.lastError, std::optional(signInFirst));
        QCOMPARE(fixture->backend.count(), before);
        await(store.loadSnapshot(std::nullopt)); // the way back needs none
        QCOMPARE(shownBalance(store), 1234.5);
    }

private:
    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<StoreFixture> fixture;
};

QTEST_GUILESS_MAIN(SnapshotsTest)
#include "SnapshotsTest.moc"
