#include "ui/ledger/LedgerHeader.h"

#include "support/TestMain.h"
#include "ui/Spinner.h"
#include "ui/ledger/LedgerFixture.h"

#include <QApplication>
#include <QSignalSpy>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const auto needsUpdate = ItemStatus{.itemId = u"a"_s, .institution = u"First Bank"_s, .needsUpdate = true};
const auto needsCard = ItemStatus{.itemId = u"b"_s, .institution = u"Second Bank"_s, .needsAddCredit = true};
const auto outage =
    ItemStatus{.itemId = u"c"_s, .institution = u"Third Bank"_s, .bankOutage = BankOutage{.areas = {{}}}};

/// A header that is told to render by the test, as its view does.
struct Fixture : LedgerSurroundings {
    [[nodiscard]] QStringList texts() {
        header->render();
        drainEvents();
        return visibleTexts(*header);
    }

    void press(const QString& title) {
        auto* button = visibleButton(*header, title);
        if (!button) {
            qFatal("no such button");
        }
        button->click();
    }

    [[nodiscard]] QLabel* label(const QString& text) const {
        for (auto* each : header->findChildren<QLabel*>()) {
            if (each->text() == text) {
                return each;
            }
        }
        return nullptr;
    }

    std::unique_ptr<LedgerHeader> header = shown<LedgerHeader>();
};

Timeline owing(double totalOwed, double pendingHolds = 0) {
    return {.totalOwed = totalOwed,
            .pendingHolds = pendingHolds,
            .totalWithPending = totalOwed + pendingHolds,
            .available = 4000,
            .asOf = u"2024-05-01 16:05 UTC"_s};
}

} // namespace

class LedgerHeaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { leaveSessionBus(); }

    void pendingHoldsAreAddedUpInOneRow() {
        Fixture fixture;
        fixture.store().timeline = owing(1234.5, 87.5);
        QCOMPARE(fixture.texts(),
                 (QStringList{u"TOTAL OWED (POSTED + PENDING AUTHORIZATIONS)"_s, u"$1,234.50"_s, u"+"_s,
                              u"$87.50"_s, u"pending"_s, u"="_s, u"$1,322.00"_s, u"$4,000.00 available"_s,
                              u"as of 2024-05-01 16:05 UTC"_s}));
    }

    void withoutPendingHoldsOnlyWhatIsOwedIsShown_data() {
        QTest::addColumn<double>("pendingHolds");
        QTest::newRow("none") << 0.0;
        QTest::newRow("less than a cent") << 0.009;
        QTest::newRow("negative") << -5.0;
    }
    void withoutPendingHoldsOnlyWhatIsOwedIsShown() {
        QFETCH(double, pendingHolds);
        Fixture fixture;
        fixture.store().timeline = owing(1234.5, pendingHolds);
        QCOMPARE(fixture.texts(), (QStringList{u"OWED NOW"_s, u"$1,234.50"_s, u"Available $4,000.00"_s,
                                               u"as of 2024-05-01 16:05 UTC"_s}));
    }

    void oneCentOnHoldIsEnough() {
        Fixture fixture;
        fixture.store().timeline = owing(1, 0.01);
        QVERIFY(fixture.texts().contains(u"$0.01"_s));
    }

    void figuresHaveTheirSizes() {
        Fixture fixture;
        fixture.store().timeline = owing(1234.5, 87.5);
        const auto texts = fixture.texts();
        const auto font = [&](const QString& text) { return fixture.label(text)->font(); };
        QCOMPARE(font(u"$1,234.50"_s).pointSizeF(), 36.0);
        QCOMPARE(font(u"$1,234.50"_s).weight(), QFont::DemiBold);
        QCOMPARE(font(u"$87.50"_s).pointSizeF(), 24.0);
        QCOMPARE(font(u"$87.50"_s).weight(), QFont::Medium);
        QCOMPARE(font(u"$1,322.00"_s), font(u"$1,234.50"_s));
    }

    void digitsHaveOneWidthSoThatFiguresDoNotDance() {
        Fixture fixture;
        fixture.store().timeline = owing(1234.5, 87.5);
        const auto texts = fixture.texts();
        for (const auto* text : {"$1,234.50", "$87.50"}) {
            const QFontMetricsF metrics(fixture.label(QString::fromLatin1(text))->font());
            for (char16_t digit = u'1'; digit <= u'9'; ++digit) {
                QCOMPARE(metrics.horizontalAdvance(QChar(digit)), metrics.horizontalAdvance(QChar(u'0')));
            }
        }
    }

    void anAsOfOfSeveralLinesIsOneHarmlessLine() {
        Fixture fixture;
        auto ledger = owing(1);
        ledger.asOf = u"<i>now</i>\nthen"_s;
        fixture.store().timeline = ledger;
        QCOMPARE(fixture.texts().last(), u"as of <i>now</i> then"_s);
        QCOMPARE(fixture.label(u"as of <i>now</i> then"_s)->textFormat(), Qt::PlainText);
    }

    void amountsBeyondAllMeasureMakeNoWindowWiderThanItsScreen() {
        Fixture fixture;
        fixture.store().timeline = owing(1e308, 1e308);
        const auto texts = fixture.texts();
        QVERIFY2(fixture.header->minimumSizeHint().width() <= 720,
                 qPrintable(QString::number(fixture.header->minimumSizeHint().width())));
    }

    void aNarrowWindowShowsEveryDigitInSmallerFigures() {
        Fixture fixture;
        fixture.store().timeline = owing(123'456.78, 12'345.67);
        fixture.header->resize(720, 200);
        const auto texts = fixture.texts();
        for (const auto& text : {u"$123,456.78"_s, u"$12,345.67"_s, u"$135,802.45"_s}) {
            const auto* figure = fixture.label(text);
            QVERIFY2(figure->width() >= figure->sizeHint().width(), qPrintable(text));
        }
        QVERIFY(fixture.label(u"$123,456.78"_s)->font().pointSizeF() < 36);
        fixture.header->resize(1400, 200);
        drainEvents();
        QCOMPARE(fixture.label(u"$123,456.78"_s)->font().pointSizeF(), 36.0);
    }

    void theFirstConditionThatHoldsIsTheBanner_data() {
        QTest::addColumn<QList<int>>("links");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QString>("button");
        const QStringList reconnect{u"Bank connection needs re-authentication"_s,
                                    u"First Bank needs re-authentication — OAuth consent expired."_s};
        const QStringList addCard{
            u"No credit card linked"_s,
            u"Second Bank is connected but no credit card is linked. Re-run Link to add it."_s};
        const QStringList degraded{u"Bank is having a service issue"_s,
                                   u"Third Bank is experiencing a service issue. Retry later."_s};
        QTest::newRow("nothing wrong") << QList<int>{} << QStringList{} << QString();
        QTest::newRow("outage") << QList<int>{2} << degraded << QString();
        QTest::newRow("no card") << QList<int>{1} << addCard << u"Re-run Link"_s;
        QTest::newRow("reconnect") << QList<int>{0} << reconnect << u"Reconnect now"_s;
        QTest::newRow("outage and reconnect") << QList<int>{2, 0} << reconnect << u"Reconnect now"_s;
        QTest::newRow("outage and no card") << QList<int>{2, 1} << addCard << u"Re-run Link"_s;
        QTest::newRow("everything") << QList<int>{2, 1, 0} << reconnect << u"Reconnect now"_s;
    }
    void theFirstConditionThatHoldsIsTheBanner() {
        QFETCH(QList<int>, links);
        QFETCH(QStringList, texts);
        QFETCH(QString, button);
        Fixture fixture;
        std::vector<ItemStatus> statuses;
        for (const auto link : links) {
            statuses.push_back(link == 0 ? needsUpdate : link == 1 ? needsCard : outage);
        }
        fixture.store().timeline = owing(5);
        fixture.store().itemStatuses = statuses;
        QCOMPARE(fixture.texts().first(texts.size()), texts);
        QCOMPARE(fixture.texts().size(), texts.size() + 4);
        for (const auto& title : {u"Reconnect now"_s, u"Re-run Link"_s, u"Back to live"_s}) {
            QCOMPARE(visibleButton(*fixture.header, title) != nullptr, title == button);
        }
    }

    void bothButtonsOpenThePageThatMendsLinks_data() {
        QTest::addColumn<bool>("isReconnect");
        QTest::newRow("Reconnect now") << true;
        QTest::newRow("Re-run Link") << false;
    }
    void bothButtonsOpenThePageThatMendsLinks() {
        QFETCH(bool, isReconnect);
        Fixture fixture;
        fixture.store().itemStatuses = {isReconnect ? needsUpdate : needsCard};
        const auto texts = fixture.texts();
        fixture.press(isReconnect ? u"Reconnect now"_s : u"Re-run Link"_s);
        QCOMPARE(fixture.surroundings.opened, QList{QUrl(fixture.backend().origin() + u"/link"_s)});
    }

    void theSnapshotBannerComesAboveTheBanksAndLeadsBack() {
        Fixture fixture;
        QSignalSpy back(fixture.header.get(), &LedgerHeader::backToLiveRequested);
        fixture.store().itemStatuses = {needsUpdate};
        fixture.store().snapshotTimeline = owing(5);
        fixture.store().selectedSnapshotDate = u"2024-04-30"_s;
        QCOMPARE(fixture.texts().first(2),
                 (QStringList{u"Viewing snapshot from 2024-04-30 — read-only, frozen at end of that day."_s,
                              u"Bank connection needs re-authentication"_s}));
        fixture.press(u"Back to live"_s);
        QCOMPARE(back.size(), 1);
        fixture.store().selectedSnapshotDate = std::nullopt;
        QCOMPARE(fixture.texts().first(), u"Bank connection needs re-authentication"_s);
    }

    void withoutALedgerTheErrorIsShownOrThatOneIsFetched() {
        Fixture fixture;
        QCOMPARE(fixture.texts(), QStringList());
        QVERIFY(fixture.header->findChild<Spinner*>()->isVisible());
        fixture.store().lastError = u"HTTP <b>500</b>"_s;
        QCOMPARE(fixture.texts(), QStringList{u"HTTP <b>500</b>"_s});
        QVERIFY(!fixture.header->findChild<Spinner*>()->isVisible());
        fixture.store().timeline = owing(5);
        QCOMPARE(fixture.texts().first(), u"OWED NOW"_s);
        QVERIFY(!fixture.texts().contains(u"HTTP <b>500</b>"_s));
    }

    void aSelectedDayWithoutItsLedgerShowsNoFiguresOfToday() {
        Fixture fixture;
        fixture.store().timeline = owing(5);
        fixture.store().selectedSnapshotDate = u"2024-04-30"_s;
        QCOMPARE(fixture.texts(),
                 QStringList{u"Viewing snapshot from 2024-04-30 — read-only, frozen at end of that day."_s});
        QVERIFY(fixture.header->findChild<Spinner*>()->isVisible());
    }

    void markupAndLengthOfABanksNameChangeNothing() {
        Fixture fixture;
        auto link = needsUpdate;
        link.institution = u"<b>"_s + QString(100'000, u'x') + u"\n"_s;
        fixture.store().itemStatuses = {link};
        const auto texts = fixture.texts();
        QCOMPARE(texts.at(1).size(), 500);
        QVERIFY(texts.at(1).startsWith(u"<b>xxx"_s));
        QVERIFY2(fixture.header->minimumSizeHint().width() <= 720,
                 qPrintable(QString::number(fixture.header->minimumSizeHint().width())));
        QVERIFY(fixture.header->minimumSizeHint().height() < 300);
    }
};

QUILLO_TEST(LedgerHeaderTest, QApplication)
#include "LedgerHeaderTest.moc"
