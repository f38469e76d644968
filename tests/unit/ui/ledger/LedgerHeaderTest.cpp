#include "ui/ledger/LedgerHeader.h"

#include "support/Wait.h"
#include "ui/Colours.h"
#include "ui/Spinner.h"
#include "ui/ledger/VisibleWidgets.h"

#include <QSignalSpy>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const LedgerTotals withPending{.caption = u"TOTAL OWED (POSTED + PENDING AUTHORIZATIONS)"_s,
                               .posted = u"$1,234.50"_s,
                               .pending = u"$87.50"_s,
                               .total = u"$1,322.00"_s,
                               .available = u"$4,000.00 available"_s,
                               .asOf = u"as of 2024-05-01 16:05 UTC"_s};
const LedgerTotals owedOnly{.caption = u"OWED NOW"_s,
                            .posted = u"$1,234.50"_s,
                            .pending = {},
                            .total = {},
                            .available = u"Available $4,000.00"_s,
                            .asOf = u"as of 2024-05-01 16:05 UTC"_s};
const BannerContent reconnect{.symbol = u"exclamationmark.triangle.fill"_s,
                              .headline = u"Bank connection needs re-authentication"_s,
                              .subtitle = u"First Bank needs it."_s,
                              .buttonTitle = u"Reconnect now"_s,
                              .tone = BannerContent::Tone::red};
const BannerContent pastDay{.symbol = u"clock.arrow.circlepath"_s,
                            .subtitle = u"Viewing snapshot from 2024-04-30"_s,
                            .buttonTitle = u"Back to live"_s};
const BannerContent failure{.symbol = u"exclamationmark.triangle"_s,
                            .subtitle = u"HTTP <b>500</b>"_s,
                            .tone = BannerContent::Tone::red};

using Banner = std::optional<BannerContent>;

LedgerHeaderContent content(const std::optional<LedgerTotals>& totals, const Banner& link = {},
                            const Banner& snapshot = {}, const Banner& error = {}) {
    return {.snapshot = snapshot, .link = link, .totals = totals, .error = error};
}

LedgerHeaderContent waiting() {
    LedgerHeaderContent content;
    content.isWaiting = true;
    return content;
}

/// A header on the screen.
struct Fixture {
    explicit Fixture(const LedgerHeaderContent& first, int width = 900) {
        header.resize(width, 600);
        header.show();
        show(first);
    }

    void show(const LedgerHeaderContent& next) {
        header.setContent(next);
        drainEvents();
    }

    [[nodiscard]] QStringList texts() const { return visibleTexts(header); }

    [[nodiscard]] QLabel& label(const QString& text) const {
        for (auto* each : header.findChildren<QLabel*>()) {
            if (each->text() == text) {
                return *each;
            }
        }
        qFatal("no label %s", qPrintable(text));
    }

    [[nodiscard]] QColor colour(const QString& text) const {
        return label(text).palette().color(QPalette::WindowText);
    }

    [[nodiscard]] bool isWaiting() const { return header.findChild<Spinner*>()->isVisible(); }

    LedgerHeader header;
};

} // namespace

/// How the top of the ledger window looks.
class LedgerHeaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSumStandsInOneRow() {
        const Fixture fixture(content(withPending));
        QCOMPARE(fixture.texts(),
                 (QStringList{u"TOTAL OWED (POSTED + PENDING AUTHORIZATIONS)"_s, u"$1,234.50"_s, u"+"_s,
                              u"$87.50"_s, u"pending"_s, u"="_s, u"$1,322.00"_s, u"$4,000.00 available"_s,
                              u"as of 2024-05-01 16:05 UTC"_s}));
    }

    void aSumThatIsNoneAnyMoreLeavesNothingOfItBehind() {
        Fixture fixture(content(withPending));
        fixture.show(content(owedOnly));
        QCOMPARE(fixture.texts(), (QStringList{u"OWED NOW"_s, u"$1,234.50"_s, u"Available $4,000.00"_s,
                                               u"as of 2024-05-01 16:05 UTC"_s}));
    }

    void figuresHaveTheirSizes() {
        const Fixture fixture(content(withPending));
        const auto font = [&](const QString& text) { return fixture.label(text).font(); };
        QCOMPARE(font(u"$1,234.50"_s).pointSizeF(), 36.0);
        QCOMPARE(font(u"$1,234.50"_s).weight(), QFont::DemiBold);
        QCOMPARE(font(u"$87.50"_s).pointSizeF(), 24.0);
        QCOMPARE(font(u"$87.50"_s).weight(), QFont::Medium);
        QCOMPARE(font(u"$1,322.00"_s), font(u"$1,234.50"_s));
    }

    void pendingFiguresAreOrangeAndWhatExplainsThemFaint() {
        const Fixture fixture(content(withPending));
        const auto colours = Colours::on(fixture.header.palette());
        QCOMPARE(fixture.colour(u"$87.50"_s), colours.orange);
        QCOMPARE(fixture.colour(u"$1,322.00"_s), fixture.header.palette().color(QPalette::WindowText));
        for (const auto& text : {withPending.caption, u"pending"_s, withPending.available}) {
            QCOMPARE(fixture.colour(text), colours.secondary);
        }
        QCOMPARE(fixture.colour(withPending.asOf), colours.tertiary);
    }

    void digitsHaveOneWidthSoThatFiguresDoNotDance() {
        const Fixture fixture(content(withPending));
        for (const auto& text : {u"$1,234.50"_s, u"$87.50"_s}) {
            const QFontMetricsF metrics(fixture.label(text).font());
            for (char16_t digit = u'1'; digit <= u'9'; ++digit) {
                QCOMPARE(metrics.horizontalAdvance(QChar(digit)), metrics.horizontalAdvance(QChar(u'0')));
            }
        }
    }

    void whatTheBackendSaysIsPlainText() {
        auto totals = owedOnly;
        totals.asOf = u"as of <i>now</i>"_s;
        const Fixture fixture(content(totals, reconnect, {}, failure));
        for (const auto& text : {totals.asOf, *reconnect.subtitle, *failure.subtitle}) {
            QCOMPARE(fixture.label(text).textFormat(), Qt::PlainText);
        }
    }

    void amountsBeyondAllMeasureMakeNoWindowWiderThanItsScreen() {
        const Ledger ledger = std::make_shared<Timeline>(
            Timeline{.totalOwed = 1e308, .pendingHolds = 1e308, .totalWithPending = 1e308});
        const Fixture fixture(LedgerHeaderContent::of({.live = ledger}));
        QVERIFY2(fixture.header.minimumSizeHint().width() <= 720,
                 qPrintable(QString::number(fixture.header.minimumSizeHint().width())));
    }

    void aNarrowWindowShowsEveryDigitInSmallerFigures() {
        auto totals = withPending;
        totals.posted = u"$123,456.78"_s;
        totals.pending = u"$12,345.67"_s;
        totals.total = u"$135,802.45"_s;
        Fixture fixture(content(totals), 720);
        for (const auto& text : {totals.posted, totals.pending, totals.total}) {
            const auto& figure = fixture.label(text);
            QVERIFY2(figure.width() >= figure.sizeHint().width(), qPrintable(text));
        }
        QVERIFY(fixture.label(totals.posted).font().pointSizeF() < 36);
        fixture.header.resize(1400, 200);
        drainEvents();
        QCOMPARE(fixture.label(totals.posted).font().pointSizeF(), 36.0);
    }

    void theDaysBannerComesAboveTheBanksAndGoesWithTheDay() {
        Fixture fixture(content(owedOnly, reconnect, pastDay));
        QCOMPARE(fixture.texts().first(4),
                 (QStringList{*pastDay.subtitle, reconnect.headline, *reconnect.subtitle, u"OWED NOW"_s}));
        fixture.show(content(owedOnly, reconnect));
        QCOMPARE(fixture.texts().first(), reconnect.headline);
        QVERIFY(!visibleButton(fixture.header, u"Back to live"_s));
    }

    void eachBannersButtonAsksForItsOwn() {
        const Fixture fixture(content({}, reconnect, pastDay));
        QSignalSpy back(&fixture.header, &LedgerHeader::backToLiveRequested);
        QSignalSpy mend(&fixture.header, &LedgerHeader::reconnectRequested);
        visibleButton(fixture.header, u"Back to live"_s)->click();
        QCOMPARE(back.size(), 1);
        QCOMPARE(mend.size(), 0);
        visibleButton(fixture.header, u"Reconnect now"_s)->click();
        QCOMPARE(back.size(), 1);
        QCOMPARE(mend.size(), 1);
    }

    void aBannerWithoutAButtonHasNone() {
        auto banner = reconnect;
        banner.buttonTitle = {};
        const Fixture fixture(content({}, banner));
        QVERIFY(!visibleButton(fixture.header, QString()));
        QVERIFY(!visibleButton(fixture.header, reconnect.buttonTitle));
    }

    void anErrorOrASpinnerStandsInThePlaceOfTheFigures() {
        Fixture fixture(waiting());
        QCOMPARE(fixture.texts(), QStringList());
        QVERIFY(fixture.isWaiting());
        fixture.show(content({}, {}, {}, failure));
        QCOMPARE(fixture.texts(), QStringList{*failure.subtitle});
        QVERIFY(!fixture.isWaiting());
        fixture.show(content(owedOnly));
        QCOMPARE(fixture.texts().first(), u"OWED NOW"_s);
        QVERIFY(!fixture.texts().contains(*failure.subtitle));
        QVERIFY(!fixture.isWaiting());
    }

    void markupAndLengthOfABanksNameChangeNothing() {
        auto banner = reconnect;
        banner.subtitle = u"<b>"_s + QString(100'000, u'x') + u"\n"_s;
        const Fixture fixture(content({}, banner));
        const auto texts = fixture.texts();
        QCOMPARE(texts.at(1).size(), 500);
        QVERIFY(texts.at(1).startsWith(u"<b>xxx"_s));
        QVERIFY2(fixture.header.minimumSizeHint().width() <= 720,
                 qPrintable(QString::number(fixture.header.minimumSizeHint().width())));
        QVERIFY(fixture.header.minimumSizeHint().height() < 300);
    }
};

QTEST_MAIN(LedgerHeaderTest)
#include "LedgerHeaderTest.moc"
