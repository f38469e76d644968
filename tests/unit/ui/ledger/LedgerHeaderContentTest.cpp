#include "ui/ledger/LedgerHeaderContent.h"

#include <QTest>

#include <memory>

using namespace quillo;
using namespace Qt::Literals::StringLiterals;

namespace {

using Tone = BannerContent::Tone;
using Links = std::vector<ItemStatus>;

const auto needsUpdate = ItemStatus{.itemId = u"a"_s, .institution = u"First Bank"_s, .needsUpdate = true};
const auto needsCard = ItemStatus{.itemId = u"b"_s, .institution = u"Second Bank"_s, .needsAddCredit = true};
const auto outage =
    ItemStatus{.itemId = u"c"_s, .institution = u"Third Bank"_s, .bankOutage = BankOutage{.areas = {{}}}};

Ledger owing(double totalOwed, double pendingHolds = 0, const QString& asOf = u"2024-05-01 16:05 UTC"_s) {
    return std::make_shared<Timeline>(Timeline{.totalOwed = totalOwed,
                                               .pendingHolds = pendingHolds,
                                               .totalWithPending = totalOwed + pendingHolds,
                                               .available = 4000,
                                               .asOf = asOf});
}

Day dayWith(Ledger ledger) {
    return {.date = u"2024-04-30"_s, .ledger = std::move(ledger)};
}

const BannerContent dayBanner{
    .symbol = u"clock.arrow.circlepath"_s,
    .subtitle = u"Viewing snapshot from 2024-04-30 — read-only, frozen at end of that day."_s,
    .buttonTitle = u"Back to live"_s};

} // namespace

/// What the top of the ledger window says, for every state of the program.
class LedgerHeaderContentTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pendingHoldsAreAddedUp() {
        const auto content = LedgerHeaderContent::of({.live = owing(1234.5, 87.5)});
        QVERIFY(content.totals == LedgerTotals({.caption = u"TOTAL OWED (POSTED + PENDING AUTHORIZATIONS)"_s,
                                                .posted = u"$1,234.50"_s,
                                                .pending = u"$87.50"_s,
                                                .total = u"$1,322.00"_s,
                                                .available = u"$4,000.00 available"_s,
                                                .asOf = u"as of 2024-05-01 16:05 UTC"_s}));
        QVERIFY(content.totals->hasPending());
    }

    void withoutPendingHoldsOnlyWhatIsOwedIsShown_data() {
        QTest::addColumn<double>("pendingHolds");
        QTest::newRow("none") << 0.0;
        QTest::newRow("less than a cent") << 0.009;
        QTest::newRow("negative") << -5.0;
    }
    void withoutPendingHoldsOnlyWhatIsOwedIsShown() {
        QFETCH(double, pendingHolds);
        const auto content = LedgerHeaderContent::of({.live = owing(1234.5, pendingHolds)});
        QVERIFY(content.totals == LedgerTotals({.caption = u"OWED NOW"_s,
                                                .posted = u"$1,234.50"_s,
                                                .pending = {},
                                                .total = {},
                                                .available = u"Available $4,000.00"_s,
                                                .asOf = u"as of 2024-05-01 16:05 UTC"_s}));
        QVERIFY(!content.totals->hasPending());
    }

    void oneCentOnHoldIsEnough() {
        const auto content = LedgerHeaderContent::of({.live = owing(1, 0.01)});
        QVERIFY(content.totals.has_value());
        QCOMPARE(content.totals->pending, u"$0.01"_s);
    }

    void anAsOfOfSeveralLinesIsOneHarmlessLine() {
        const auto content = LedgerHeaderContent::of({.live = owing(1, 0, u"<i>now</i>\nthen"_s)});
        QVERIFY(content.totals.has_value());
        QCOMPARE(content.totals->asOf, u"as of <i>now</i> then"_s);
    }

    void theFirstConditionThatHoldsIsTheBanner_data() {
        QTest::addColumn<Links>("links");
        QTest::addColumn<std::optional<BannerContent>>("banner");
        const BannerContent reconnect{.symbol = u"exclamationmark.triangle.fill"_s,
                                      .headline = u"Bank connection needs re-authentication"_s,
                                      .subtitle =
                                          u"First Bank needs re-authentication — OAuth consent expired."_s,
                                      .buttonTitle = u"Reconnect now"_s,
                                      .tone = Tone::red};
        const BannerContent addCard{
            .symbol = u"exclamationmark.triangle.fill"_s,
            .headline = u"No credit card linked"_s,
            .subtitle = u"Second Bank is connected but no credit card is linked. Re-run Link to add it."_s,
            .buttonTitle = u"Re-run Link"_s,
            .tone = Tone::orange};
        const BannerContent degraded{.symbol = u"exclamationmark.triangle.fill"_s,
                                     .headline = u"Bank is having a service issue"_s,
                                     .subtitle =
                                         u"Third Bank is experiencing a service issue. Retry later."_s,
                                     .tone = Tone::orange};
        const auto row = [](const char* name, const Links& links,
                            const std::optional<BannerContent>& banner) {
            QTest::newRow(name) << links << banner;
        };
        row("nothing wrong", {}, {});
        row("outage", {outage}, degraded);
        row("no card", {needsCard}, addCard);
        row("reconnect", {needsUpdate}, reconnect);
        row("outage and reconnect", {outage, needsUpdate}, reconnect);
        row("outage and no card", {outage, needsCard}, addCard);
        row("everything", {outage, needsCard, needsUpdate}, reconnect);
    }
    void theFirstConditionThatHoldsIsTheBanner() {
        QFETCH(Links, links);
        QFETCH(std::optional<BannerContent>, banner);
        const auto content = LedgerHeaderContent::of({.live = owing(5), .links = links});
        QVERIFY(content.link == banner);
        QVERIFY(content.totals.has_value());
        QVERIFY(!content.snapshot && !content.error && !content.isWaiting);
    }

    void aDaysFiguresAreShownWithTheBankLinksOfToday() {
        const auto content = LedgerHeaderContent::of(
            {.live = owing(5), .links = Links{needsUpdate}, .day = dayWith(owing(7))});
        QVERIFY(content.snapshot == dayBanner);
        QVERIFY(content.link.has_value());
        QVERIFY(content.totals.has_value());
        QCOMPARE(content.totals->posted, u"$7.00"_s);
    }

    void withoutALedgerTheErrorIsShownOrThatOneIsFetched() {
        LedgerHeaderContent waiting;
        waiting.isWaiting = true;
        QVERIFY(LedgerHeaderContent::of({}) == waiting);
        LedgerHeaderContent failed;
        failed.error = BannerContent{
            .symbol = u"exclamationmark.triangle"_s, .subtitle = u"HTTP <b>500</b>"_s, .tone = Tone::red};
        QVERIFY(LedgerHeaderContent::of({.error = u"HTTP <b>500</b>"_s}) == failed);
    }

    void anErrorHidesNoLedger() {
        const auto content = LedgerHeaderContent::of({.live = owing(5), .error = u"HTTP 500"_s});
        QVERIFY(content.totals.has_value());
        QVERIFY(!content.error && !content.isWaiting);
    }

    void aSelectedDayWithoutItsLedgerShowsNoFiguresOfToday() {
        LedgerHeaderContent waiting;
        waiting.snapshot = dayBanner;
        waiting.isWaiting = true;
        QVERIFY(LedgerHeaderContent::of({.live = owing(5), .day = dayWith(nullptr)}) == waiting);
    }
};

QTEST_APPLESS_MAIN(LedgerHeaderContentTest)
#include "LedgerHeaderContentTest.moc"
