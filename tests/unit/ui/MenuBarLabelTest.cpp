#include "ui/MenuBarLabel.h"

#include <QTest>

using namespace quillo;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A link with everything that a problem can be told by.
enum Problem { none = 0, outage = 1, reconnect = 2, addCard = 4 };

ItemStatus link(int problems) {
    ItemStatus status;
    status.needsUpdate = (problems & reconnect) != 0;
    status.needsAddCredit = (problems & addCard) != 0;
    if ((problems & outage) != 0) {
        status.bankOutage = BankOutage{.areas = {{u"login"_s, u"down"_s}}};
    }
    return status;
}

Ledger owing(double totalOwed, double pendingHolds = 0) {
    return std::make_shared<Timeline>(Timeline{.totalOwed = totalOwed, .pendingHolds = pendingHolds});
}

QString text(const AppState& state) {
    return MenuBarLabel::of(state).text;
}

} // namespace

/// What the panel shows, for every state of the program.
class MenuBarLabelTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFirstRuleThatHoldsDecides_data() {
        QTest::addColumn<int>("problems");
        QTest::addColumn<bool>("error");
        QTest::addColumn<bool>("hasLedger");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, int problems, bool error, bool hasLedger, const char* icon,
                            const QString& text) {
            QTest::newRow(name) << problems << error << hasLedger << QString::fromLatin1(icon) << text;
        };
        const auto bank = u"Quillo · Bank issue"_s;
        const auto again = u"Quillo · Reconnect"_s;
        const auto card = u"Quillo · Add credit card"_s;
        const auto amount = u"$1,234.50"_s;
        row("loading", none, false, false, "hourglass", u"Quillo…"_s);
        row("loaded", none, false, true, "creditcard", amount);
        row("first refresh failed", none, true, false, "exclamationmark.circle", u"Quillo"_s);
        row("later refresh failed", none, true, true, "exclamationmark.circle", amount);
        row("outage", outage, false, true, "network.slash", bank);
        row("outage before loading", outage, false, false, "network.slash", bank);
        row("outage before an error", outage, true, false, "network.slash", bank);
        row("outage before reconnect", outage | reconnect, false, true, "network.slash", bank);
        row("outage before all", outage | reconnect | addCard, true, true, "network.slash", bank);
        row("reconnect", reconnect, false, true, "exclamationmark.triangle.fill", again);
        row("reconnect before add card", reconnect | addCard, false, true, "exclamationmark.triangle.fill",
            again);
        row("reconnect before an error", reconnect, true, false, "exclamationmark.triangle.fill", again);
        row("add card", addCard, false, true, "creditcard.trianglebadge.exclamationmark", card);
        row("add card before an error", addCard, true, true, "creditcard.trianglebadge.exclamationmark",
            card);
        row("add card before loading", addCard, false, false, "creditcard.trianglebadge.exclamationmark",
            card);
    }
    void theFirstRuleThatHoldsDecides() {
        QFETCH(int, problems);
        QFETCH(bool, error);
        QFETCH(bool, hasLedger);
        QFETCH(QString, icon);
        QFETCH(QString, text);
        AppState state{.links = std::vector{link(none), link(problems)}};
        if (error) {
            state.error = u"HTTP 503"_s;
        }
        if (hasLedger) {
            state.live = owing(1234.5);
        }
        const auto label = MenuBarLabel::of(state);
        QCOMPARE(label.iconName, icon);
        QCOMPARE(label.text, text);
        // Only in the normal state does the amount stand in for the symbol.
        QCOMPARE(label.shortText, icon == u"creditcard"_s ? u"1.2k"_s : QString());
    }

    void problemsOfDifferentLinksKeepTheirOrder() {
        QCOMPARE(text({.links = std::vector{link(addCard), link(reconnect), link(outage)}}),
                 u"Quillo · Bank issue"_s);
        QCOMPARE(text({.links = std::vector{link(addCard), link(reconnect)}}), u"Quillo · Reconnect"_s);
    }

    void amountsAreShort_data() {
        QTest::addColumn<double>("totalOwed");
        QTest::addColumn<double>("pendingHolds");
        QTest::addColumn<QString>("text");
        QTest::newRow("cents are rounded") << 1234.567 << 0.0 << u"$1,234.57"_s;
        QTest::newRow("two amounts, half to even") << 1234.5 << 87.5 << u"$1,234 + $88 pend"_s;
        QTest::newRow("two amounts, half to the even below") << 1235.5 << 86.5 << u"$1,236 + $86 pend"_s;
        QTest::newRow("exactly the threshold") << 5.0 << 0.01 << u"$5 + $0 pend"_s;
        QTest::newRow("below the threshold") << 5.0 << 0.0099 << u"$5.00"_s;
        QTest::newRow("half a cent") << 5.0 << 0.005 << u"$5.00"_s;
        QTest::newRow("negative holds") << 5.0 << -3.0 << u"$5.00"_s;
        QTest::newRow("nothing owed") << 0.0 << 0.0 << u"$0.00"_s;
        QTest::newRow("a credit: the minus comes after the sign") << -12.3 << 0.0 << u"$-12.30"_s;
        QTest::newRow("a credit with holds") << -12.3 << 40.0 << u"$-12 + $40 pend"_s;
        QTest::newRow("large") << 1234567.891 << 0.0 << u"$1,234,567.89"_s;
    }
    void amountsAreShort() {
        QFETCH(double, totalOwed);
        QFETCH(double, pendingHolds);
        QFETCH(QString, text);
        const auto label = MenuBarLabel::of({.live = owing(totalOwed, pendingHolds)});
        QCOMPARE(label.text, text);
        QCOMPARE(label.iconName, u"creditcard"_s);
    }

    void aPastDayIsNeverShown() {
        const Day day{.date = u"2024-04-30"_s, .ledger = owing(2)};
        QCOMPARE(text({.live = owing(1), .day = day}), u"$1.00"_s);
        const auto label = MenuBarLabel::of({.day = day});
        QCOMPARE(label.text, u"Quillo…"_s);
        QCOMPARE(label.iconName, u"hourglass"_s);
    }

    void numbersAreWrittenWithoutASign() {
        QCOMPARE(MenuBarLabel::fmt(1234.5, 2), u"1,234.50"_s);
        QCOMPARE(MenuBarLabel::fmt(1234.5, 0), u"1,234"_s);
        QCOMPARE(MenuBarLabel::fmt(0.004, 2), u"0.00"_s);
        QCOMPARE(MenuBarLabel::fmt(-12.3, 2), u"-12.30"_s);
    }
};

QTEST_APPLESS_MAIN(MenuBarLabelTest)
#include "MenuBarLabelTest.moc"
