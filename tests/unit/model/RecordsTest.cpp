#include "model/ItemStatus.h"
#include "model/SnapshotSummary.h"
#include "model/Timeline.h"
#include "support/TestMain.h"

#include <QLocale>
#include <QSet>
#include <QTest>

#include <clocale>
#include <limits>
#include <type_traits>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

namespace {

[[nodiscard]] Transaction fullLine() {
    return {u"t1"_s, u"2024-05-01"_s, 19.99, u"Cafe"_s, u"CAFE 12"_s, 1, 119.99, true, u"1234"_s, u"lunch"_s};
}

/// `fullLine` with one member changed, for each of the members.
[[nodiscard]] std::vector<std::pair<const char*, Transaction>> changedLines() {
    std::vector<std::pair<const char*, Transaction>> lines;
    const auto add = [&lines](const char* what, auto change) {
        lines.emplace_back(what, fullLine());
        change(lines.back().second);
    };
    add("other txnId", [](Transaction& line) { line.txnId = u"t2"_s; });
    add("absent txnId", [](Transaction& line) { line.txnId = std::nullopt; });
    add("other date", [](Transaction& line) { line.date = u"2024-05-02"_s; });
    add("other amount", [](Transaction& line) { line.amount = 20; });
    add("other merchant", [](Transaction& line) { line.merchant = u"Bar"_s; });
    add("absent merchant", [](Transaction& line) { line.merchant = std::nullopt; });
    add("empty merchant", [](Transaction& line) { line.merchant = u""_s; });
    add("other name", [](Transaction& line) { line.name = u"BAR 12"_s; });
    add("absent name", [](Transaction& line) { line.name = std::nullopt; });
    add("other pending", [](Transaction& line) { line.pending = 2; });
    add("pending 0", [](Transaction& line) { line.pending = 0; });
    add("absent pending", [](Transaction& line) { line.pending = std::nullopt; });
    add("other runningBalance", [](Transaction& line) { line.runningBalance = 120; });
    add("other synthetic", [](Transaction& line) { line.synthetic = false; });
    add("absent synthetic", [](Transaction& line) { line.synthetic = std::nullopt; });
    add("other accountMask", [](Transaction& line) { line.accountMask = u"4321"_s; });
    add("absent accountMask", [](Transaction& line) { line.accountMask = std::nullopt; });
    add("other note", [](Transaction& line) { line.note = u"dinner"_s; });
    add("absent note", [](Transaction& line) { line.note = std::nullopt; });
    return lines;
}

} // namespace

class RecordsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void recordsAreMadeMemberByMemberInDeclarationOrder();
    void aLineIsMovedWithoutThrowing();
    void theIdOfALine_data();
    void theIdOfALine();
    void theIdFollowsNoLocale();
    void equalAmountsOfZeroGiveEqualIds();
    void pendingIsAnyNumberButZero();
    void syntheticIsOnlyPresentTruth();
    void theLabelFallsBackOnAbsenceOnly_data();
    void theLabelFallsBackOnAbsenceOnly();
    void linesThatDifferInOneMemberAreNotEqual_data();
    void linesThatDifferInOneMemberAreNotEqual();
    void zeroAndNegativeZeroAreEqualAndHashAlike();
    void linesWithoutTxnIdMayShareAnId();
    void aLinkIsDegradedOnlyByAnArea();
    void aLinkNeedsACreditCardOnlyWhenToldSo();
    void aLinkIsNamedByItsItemId();
    void areasCompareByBothTexts();
    void aSummaryIsNamedByItsDate();
    void absentTotalsAreNotZeroTotals();
    void summariesThatDifferInOneMemberAreNotEqual();
};

void RecordsTest::recordsAreMadeMemberByMemberInDeclarationOrder() {
    const QDateTime now = QDateTime::currentDateTime();
    const Timeline timeline{1, 2, 3, 4, 5, u"today"_s, {fullLine()}, now};
    QCOMPARE(timeline.totalOwed, 1.0);
    QCOMPARE(timeline.pendingHolds, 2.0);
    QCOMPARE(timeline.totalWithPending, 3.0);
    QCOMPARE(timeline.creditLimit, 4.0);
    QCOMPARE(timeline.available, 5.0);
    QCOMPARE(timeline.asOf, u"today"_s);
    QCOMPARE(timeline.fetchedAt, std::optional(now));

    const Transaction& line = timeline.transactions.front();
    QCOMPARE(*line.txnId, u"t1"_s);
    QCOMPARE(line.date, u"2024-05-01"_s);
    QCOMPARE(line.amount, 19.99);
    QCOMPARE(*line.merchant, u"Cafe"_s);
    QCOMPARE(*line.name, u"CAFE 12"_s);
    QCOMPARE(line.pending, std::optional<std::int64_t>(1));
    QCOMPARE(line.runningBalance, 119.99);
    QCOMPARE(line.synthetic, std::optional(true));
    QCOMPARE(*line.accountMask, u"1234"_s);
    QCOMPARE(*line.note, u"lunch"_s);

    const StatusResponse status{{{u"i"_s, u"Bank"_s, u"E"_s, u"message"_s, true, true, false,
                                  BankOutage{{{u"a"_s, u"s"_s}}}, u"hint"_s}}};
    QCOMPARE(status.items.front().errorMessage, std::optional(u"message"_s));
    QCOMPARE(status.items.front().bankOutage->areas.front().status, u"s"_s);
    QCOMPARE(status.items.front().hint, std::optional(u"hint"_s));

    const SnapshotListResponse list{{{u"d"_s, u"c"_s, 1, 2, 3, 4, 5}}};
    QCOMPARE(list.snapshots.front().available, std::optional(4.0));
    QCOMPARE(list.snapshots.front().txnCount, 5);
}

void RecordsTest::aLineIsMovedWithoutThrowing() {
    // Otherwise a growing list of lines would copy them.
    QVERIFY(std::is_nothrow_move_constructible_v<Transaction>);
    QVERIFY(std::is_nothrow_move_assignable_v<Transaction>);
    QVERIFY(std::is_nothrow_move_constructible_v<ItemStatus>);
    QVERIFY(std::is_nothrow_move_constructible_v<SnapshotSummary>);
    QVERIFY(std::is_nothrow_move_constructible_v<Timeline>);
}

void RecordsTest::theIdOfALine_data() {
    QTest::addColumn<Text>("txnId");
    QTest::addColumn<Text>("merchant");
    QTest::addColumn<Text>("name");
    QTest::addColumn<double>("amount");
    QTest::addColumn<QString>("id");
    const Text none;
    const Text acme = u"ACME STORE"_s;
    QTest::newRow("txn_id as sent") << Text(u"abc"_s) << acme << acme << 1.0 << u"abc"_s;
    QTest::newRow("empty txn_id too") << Text(u""_s) << acme << acme << 1.0 << u""_s;
    QTest::newRow("name") << none << none << acme << 19.99 << u"D-ACME STORE-19.99"_s;
    QTest::newRow("merchant before name") << none << Text(u"Cafe"_s) << acme << 3.0 << u"D-Cafe-3.0"_s;
    QTest::newRow("empty merchant before name") << none << Text(u""_s) << acme << 3.0 << u"D--3.0"_s;
    QTest::newRow("no label") << none << none << none << -5.0 << u"D---5.0"_s;

    const auto amount = [&none](double value, const QString& text) {
        QTest::addRow("amount %s", qUtf8Printable(text))
            << none << Text(u"m"_s) << none << value << u"D-m-"_s + text;
    };
    amount(-42, u"-42.0"_s);
    amount(12.5, u"12.5"_s);
    amount(0, u"0.0"_s);
    amount(0.1, u"0.1"_s);
    amount(0.1 + 0.2, u"0.30000000000000004"_s);
    amount(100, u"100.0"_s);
    amount(1234567.89, u"1234567.89"_s);
    amount(0.01, u"0.01"_s);
    amount(0.00001, u"0.00001"_s);
    amount(1e-7, u"0.0000001"_s);
    amount(9007199254740992, u"9007199254740992.0"_s);
    amount(1e15, u"1000000000000000.0"_s);
    amount(1e16, u"10000000000000000.0"_s);
    amount(1e22, u"10000000000000000000000.0"_s);
}

void RecordsTest::theIdOfALine() {
    QFETCH(Text, txnId);
    QFETCH(Text, merchant);
    QFETCH(Text, name);
    QFETCH(double, amount);
    QFETCH(QString, id);
    const Transaction line{
        .txnId = txnId, .date = u"D"_s, .amount = amount, .merchant = merchant, .name = name};
    QCOMPARE(line.id(), id);
    if (!txnId) {
        QCOMPARE(id.mid(id.indexOf(u'-', 2) + 1).toDouble(), amount);
    }
}

void RecordsTest::theIdFollowsNoLocale() {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    const Transaction line{.date = u"2024-05-01"_s, .amount = 1234.5, .merchant = u"Café"_s};
    const QString id = line.id();
    std::setlocale(LC_ALL, "C.UTF-8");
    QLocale::setDefault(before);
    QCOMPARE(id, u"2024-05-01-Café-1234.5"_s);
}

void RecordsTest::equalAmountsOfZeroGiveEqualIds() {
    const Transaction zero{.date = u"D"_s, .amount = 0.0};
    const Transaction negativeZero{.date = u"D"_s, .amount = -0.0};
    QVERIFY(zero == negativeZero);
    QCOMPARE(negativeZero.id(), zero.id());
}

void RecordsTest::pendingIsAnyNumberButZero() {
    QVERIFY(!Transaction{}.isPending());
    QVERIFY(!Transaction{.pending = 0}.isPending());
    QVERIFY(Transaction{.pending = 1}.isPending());
    QVERIFY(Transaction{.pending = -1}.isPending());
    QVERIFY(Transaction{.pending = std::numeric_limits<std::int64_t>::min()}.isPending());
}

void RecordsTest::syntheticIsOnlyPresentTruth() {
    QVERIFY(!Transaction{}.isSynthetic());
    QVERIFY(!Transaction{.synthetic = false}.isSynthetic());
    QVERIFY(Transaction{.synthetic = true}.isSynthetic());
    QVERIFY(Transaction{} != Transaction{.synthetic = false});
}

void RecordsTest::theLabelFallsBackOnAbsenceOnly_data() {
    QTest::addColumn<Text>("merchant");
    QTest::addColumn<Text>("name");
    QTest::addColumn<QString>("label");
    QTest::newRow("both") << Text(u"Cafe"_s) << Text(u"CAFE 12"_s) << u"Cafe"_s;
    QTest::newRow("name alone") << Text() << Text(u"CAFE 12"_s) << u"CAFE 12"_s;
    QTest::newRow("neither") << Text() << Text() << u"charge"_s;
    QTest::newRow("empty merchant") << Text(u""_s) << Text(u"CAFE 12"_s) << u""_s;
    QTest::newRow("empty name") << Text() << Text(u""_s) << u""_s;
}

void RecordsTest::theLabelFallsBackOnAbsenceOnly() {
    QFETCH(Text, merchant);
    QFETCH(Text, name);
    QFETCH(QString, label);
    QCOMPARE((Transaction{.merchant = merchant, .name = name}.display()), label);
}

void RecordsTest::linesThatDifferInOneMemberAreNotEqual_data() {
    QTest::addColumn<qsizetype>("index");
    const auto lines = changedLines();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        QTest::newRow(lines[i].first) << static_cast<qsizetype>(i);
    }
}

void RecordsTest::linesThatDifferInOneMemberAreNotEqual() {
    QFETCH(qsizetype, index);
    const Transaction changed = changedLines()[static_cast<std::size_t>(index)].second;
    QVERIFY(changed == changed);
    QVERIFY(changed != fullLine());
    QVERIFY(fullLine() == fullLine());
    QCOMPARE(qHash(fullLine()), qHash(fullLine()));
    QVERIFY(qHash(changed) != qHash(fullLine()));
    const QSet<Transaction> set{fullLine(), changed, fullLine()};
    QCOMPARE(set.size(), 2);
}

void RecordsTest::zeroAndNegativeZeroAreEqualAndHashAlike() {
    Transaction zero = fullLine();
    Transaction negativeZero = fullLine();
    zero.amount = zero.runningBalance = 0.0;
    negativeZero.amount = negativeZero.runningBalance = -0.0;
    QVERIFY(zero == negativeZero);
    QCOMPARE(qHash(zero, 7), qHash(negativeZero, 7));

    const SnapshotSummary day{u"d"_s, u"c"_s, 0.0, 0.0, 0.0, 0.0, 0};
    const SnapshotSummary negativeDay{u"d"_s, u"c"_s, -0.0, -0.0, -0.0, -0.0, 0};
    QVERIFY(day == negativeDay);
    QCOMPARE(qHash(day, 7), qHash(negativeDay, 7));
}

void RecordsTest::linesWithoutTxnIdMayShareAnId() {
    Transaction one = fullLine();
    one.txnId = std::nullopt;
    Transaction other = one;
    other.note = u"dinner"_s;
    QVERIFY(one != other);
    QCOMPARE(one.id(), other.id());
}

void RecordsTest::aLinkIsDegradedOnlyByAnArea() {
    QVERIFY(!ItemStatus{}.isBankDegraded());
    QVERIFY(!ItemStatus{.bankOutage = BankOutage{}}.isBankDegraded());
    QVERIFY((ItemStatus{.bankOutage = BankOutage{{{u"login"_s, u"down"_s}}}}.isBankDegraded()));
}

void RecordsTest::aLinkNeedsACreditCardOnlyWhenToldSo() {
    QVERIFY(!ItemStatus{}.needsLinkCreditCard());
    QVERIFY(!ItemStatus{.needsAddCredit = false}.needsLinkCreditCard());
    QVERIFY(ItemStatus{.needsAddCredit = true}.needsLinkCreditCard());
    QVERIFY(!ItemStatus{.hasCreditAccount = false}.needsLinkCreditCard());
    QVERIFY((ItemStatus{.needsAddCredit = true, .hasCreditAccount = true}.needsLinkCreditCard()));
}

void RecordsTest::aLinkIsNamedByItsItemId() {
    QCOMPARE(ItemStatus{.itemId = u"item"_s}.id(), u"item"_s);
}

void RecordsTest::areasCompareByBothTexts() {
    using Area = BankOutage::Area;
    const Area area{u"login"_s, u"down"_s};
    QVERIFY((area == Area{u"login"_s, u"down"_s}));
    QVERIFY((area != Area{u"login"_s, u"slow"_s}));
    QVERIFY((area != Area{u"data"_s, u"down"_s}));
    QCOMPARE((QSet<Area>{area, area, Area{u"down"_s, u"login"_s}}.size()), 2);
}

void RecordsTest::aSummaryIsNamedByItsDate() {
    QCOMPARE(SnapshotSummary{.snapshotDate = u"2024-05-01"_s}.id(), u"2024-05-01"_s);
}

void RecordsTest::absentTotalsAreNotZeroTotals() {
    const SnapshotSummary absent{u"d"_s, u"c"_s, {}, {}, {}, {}, 3};
    const SnapshotSummary zero{u"d"_s, u"c"_s, 0, 0, 0, 0, 3};
    QVERIFY(absent != zero);
    QVERIFY(qHash(absent) != qHash(zero));
}

void RecordsTest::summariesThatDifferInOneMemberAreNotEqual() {
    const SnapshotSummary day{u"d"_s, u"c"_s, 1, 2, 3, 4, 5};
    QSet<SnapshotSummary> set{day, SnapshotSummary{u"d"_s, u"c"_s, 1, 2, 3, 4, 5}};
    QCOMPARE(set.size(), 1);
    set += {{u"x"_s, u"c"_s, 1, 2, 3, 4, 5}, {u"d"_s, u"x"_s, 1, 2, 3, 4, 5}, {u"d"_s, u"c"_s, 9, 2, 3, 4, 5},
            {u"d"_s, u"c"_s, 1, 9, 3, 4, 5}, {u"d"_s, u"c"_s, 1, 2, 9, 4, 5}, {u"d"_s, u"c"_s, 1, 2, 3, 9, 5},
            {u"d"_s, u"c"_s, 1, 2, 3, 4, 9}};
    QCOMPARE(set.size(), 8);
}

QUILLO_TEST(RecordsTest, QCoreApplication)
#include "RecordsTest.moc"
