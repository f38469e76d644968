#include "ui/ledger/PreparedLedger.h"

#include <QTest>

#include <algorithm>
#include <limits>
#include <numeric>
#include <random>

using namespace quillo;
using namespace Qt::Literals::StringLiterals;

namespace {

using Lines = std::vector<Transaction>;
using Rows = std::vector<LinePosition>;

constexpr LedgerSortOrder newestFirst{};
constexpr LedgerSortOrder oldestFirst{.column = LedgerColumn::date, .direction = Qt::AscendingOrder};
constexpr LedgerSortOrder largestFirst{.column = LedgerColumn::amount, .direction = Qt::DescendingOrder};
constexpr LedgerSortOrder smallestFirst{.column = LedgerColumn::amount, .direction = Qt::AscendingOrder};

PreparedLedger prepare(Lines lines) {
    Timeline ledger;
    ledger.transactions = std::move(lines);
    return PreparedLedger(std::make_shared<const Timeline>(std::move(ledger)));
}

Text text(const QString& value) {
    return value.isNull() ? Text() : Text(value);
}

Transaction called(const QString& merchant, const QString& name = {}) {
    return {.merchant = text(merchant), .name = text(name)};
}

Rows found(const PreparedLedger& ledger, const QString& search) {
    return ledger.rows(search, oldestFirst);
}

/// Amounts and dates that come several times, negative ones among them.
Lines randomLines(int count) {
    std::mt19937 random(7);
    Lines made;
    for (int line = 0; line < count; ++line) {
        made.push_back({.txnId = u"line %1"_s.arg(line),
                        .date = u"20%1-05-01"_s.arg(random() % 90 + 10),
                        .amount = (static_cast<double>(random() % 2000) - 1000) / 100,
                        .runningBalance = -1.5 * static_cast<double>(random() % 3)});
    }
    return made;
}

template <typename Key>
Rows expected(const Lines& lines, Key Transaction::*member, Qt::SortOrder direction) {
    Rows order(lines.size());
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::stable_sort(order, [&](auto left, auto right) {
        return direction == Qt::AscendingOrder ? lines[left].*member < lines[right].*member
                                               : lines[right].*member < lines[left].*member;
    });
    return order;
}

} // namespace

/// Which lines of a ledger pass a search, in which order, and where they went in the next one.
class PreparedLedgerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutALedgerThereAreNoLines() {
        const PreparedLedger none;
        QVERIFY(none.lines().empty());
        QVERIFY(none.rows(u""_s, newestFirst).empty());
        QVERIFY(none.rows(u"a"_s, smallestFirst).empty());
    }

    void theNewestDateComesFirst() {
        const auto ledger =
            prepare({{.date = u"2024-05-01"_s}, {.date = u"2024-05-03"_s}, {.date = u"2023-12-31"_s}});
        QCOMPARE(ledger.rows({}, newestFirst), (Rows{1, 0, 2}));
    }

    void linesThatCompareEqualKeepTheBackendsOrderInBothDirections() {
        const auto ledger = prepare({{.date = u"2024-05-01"_s, .amount = 5},
                                     {.date = u"2024-05-02"_s, .amount = 5},
                                     {.date = u"2024-05-01"_s, .amount = 5},
                                     {.date = u"2024-05-02"_s, .amount = 4}});
        QCOMPARE(ledger.rows({}, newestFirst), (Rows{1, 3, 0, 2}));
        QCOMPARE(ledger.rows({}, oldestFirst), (Rows{0, 2, 1, 3}));
        QCOMPARE(ledger.rows({}, largestFirst), (Rows{0, 1, 2, 3}));
        QCOMPARE(ledger.rows({}, smallestFirst), (Rows{3, 0, 1, 2}));
    }

    void amountsAreComparedAsNumbers() {
        const auto ledger = prepare({{.amount = 9},
                                     {.amount = -100},
                                     {.amount = 10},
                                     {.amount = 0.0},
                                     {.amount = -0.0},
                                     {.amount = std::numeric_limits<double>::max()},
                                     {.amount = std::numeric_limits<double>::lowest()},
                                     {.amount = std::numeric_limits<double>::denorm_min()}});
        QCOMPARE(ledger.rows({}, smallestFirst), (Rows{6, 1, 3, 4, 7, 0, 2, 5}));
    }

    void datesThatAreNoDatesAreComparedAsText() {
        const auto ledger =
            prepare({{.date = u"yesterday"_s}, {}, {.date = u"2024-05-01"_s}, {.date = u"Äther"_s}});
        QCOMPARE(ledger.rows({}, oldestFirst), (Rows{1, 2, 0, 3}));
    }

    void everyColumnSortsALedgerOfAnyLength_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<Qt::SortOrder>("direction");
        for (const int count : {1, 2, 100, 20'000}) {
            QTest::addRow("%d lines, ascending", count) << count << Qt::AscendingOrder;
            QTest::addRow("%d lines, descending", count) << count << Qt::DescendingOrder;
        }
    }
    void everyColumnSortsALedgerOfAnyLength() {
        QFETCH(int, count);
        QFETCH(Qt::SortOrder, direction);
        const auto lines = randomLines(count);
        const auto ledger = prepare(lines);
        QCOMPARE(ledger.rows({}, {LedgerColumn::date, direction}),
                 expected(lines, &Transaction::date, direction));
        QCOMPARE(ledger.rows({}, {LedgerColumn::amount, direction}),
                 expected(lines, &Transaction::amount, direction));
        QCOMPARE(ledger.rows({}, {LedgerColumn::runningBalance, direction}),
                 expected(lines, &Transaction::runningBalance, direction));
    }

    void aSearchFindsWhatTheUserMeans_data() {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QString>("merchant");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("found");
        const auto none = QString();
        QTest::newRow("trimmed, any case") << "  COFFEE "
                                           << "Blue Bottle Coffee" << none << true;
        QTest::newRow("tabs") << "\tcoffee\t"
                              << "Blue Bottle Coffee" << none << true;
        QTest::newRow("no-break space")
            << QStringLiteral("\u00a0coffee") << "Blue Bottle Coffee" << none << true;
        QTest::newRow("line breaks are not trimmed") << "coffee\n"
                                                     << "Blue Bottle Coffee" << none << false;
        QTest::newRow("inner spaces count") << "blue  bottle"
                                            << "Blue Bottle" << none << false;
        QTest::newRow("the name only") << "acme"
                                       << "Shop"
                                       << "ACME STORE 42" << true;
        QTest::newRow("neither") << "tea"
                                 << "Shop"
                                 << "ACME STORE 42" << false;
        QTest::newRow("not across description and name") << "shopacme"
                                                         << "Shop"
                                                         << "ACME" << false;
        QTest::newRow("the whole text") << "shop"
                                        << "Shop" << none << true;
        QTest::newRow("more than the text") << "shops"
                                            << "Shop" << none << false;
        QTest::newRow("nothing") << ""
                                 << "Shop" << none << true;
        QTest::newRow("only spaces") << "   "
                                     << "Shop" << none << true;
        QTest::newRow("Greek") << QStringLiteral("ΚΑΦΈΣ") << QStringLiteral("καφές") << none << true;
        QTest::newRow("Cyrillic") << QStringLiteral("кофе") << QStringLiteral("КОФЕ ХАУЗ") << none << true;
        QTest::newRow("composed finds decomposed")
            << QStringLiteral("café") << QStringLiteral("Cafe\u0301") << none << true;
        QTest::newRow("decomposed finds composed")
            << QStringLiteral("cafe\u0301") << QStringLiteral("CAFÉ") << none << true;
        QTest::newRow("Japanese") << QStringLiteral("コーヒー") << QStringLiteral("東京コーヒー") << none
                                  << true;
    }
    void aSearchFindsWhatTheUserMeans() {
        QFETCH(QString, search);
        QFETCH(QString, merchant);
        QFETCH(QString, name);
        const auto ledger = prepare({called(u"first"_s), called(merchant, name), called(u"last"_s)});
        const bool isFound = std::ranges::count(found(ledger, search), 1U) == 1;
        QTEST(isFound, "found");
    }

    void aLineWithoutMerchantIsFoundByItsNameAndOneWithoutBothAsACharge() {
        const auto ledger = prepare({called({}, u"ACME"_s), {}});
        QCOMPARE(found(ledger, u"acme"_s), (Rows{0}));
        QCOMPARE(found(ledger, u"charge"_s), (Rows{1}));
    }

    void linesThatShareAnIdBothShow() {
        const auto ledger = prepare({called(u"A"_s), called(u"A"_s)});
        QCOMPARE(found(ledger, u"a"_s), (Rows{0, 1}));
    }

    void whatIsFoundIsInTheOrderAskedFor() {
        const auto ledger = prepare({{.amount = 1, .merchant = u"B"_s},
                                     {.amount = 3, .merchant = u"A"_s},
                                     {.amount = 0, .merchant = u"B"_s}});
        QCOMPARE(ledger.rows(u"b"_s, smallestFirst), (Rows{2, 0}));
        QCOMPARE(ledger.rows(u"b"_s, largestFirst), (Rows{0, 2}));
    }

    void everyLineOfManyIsFoundByItsOwnTextAndAllByWhatAllHold() {
        constexpr LinePosition count = 20'000;
        Lines lines;
        for (LinePosition line = 0; line < count; ++line) {
            lines.push_back(called(u"Shop %1!"_s.arg(line), u"SHOP"_s));
        }
        lines[9'000].merchant = lines[0].merchant;
        const auto ledger = prepare(std::move(lines));
        for (const LinePosition line : {1U, 997U, 8'999U, count - 1}) {
            QCOMPARE(found(ledger, u"shop %1!"_s.arg(line)), Rows{line});
        }
        QCOMPARE(found(ledger, u"SHOP 0!"_s), (Rows{0, 9'000}));
        QCOMPARE(found(ledger, u"shop"_s).size(), std::size_t{count});
    }

    void aLedgerOfEqualLinesNeedsNoPreparation() {
        const auto lines = randomLines(100);
        const auto first = prepare(lines);
        Timeline next;
        next.transactions = lines;
        const PreparedLedger second(std::make_shared<const Timeline>(std::move(next)), first);
        QCOMPARE(second.rows({}, smallestFirst), first.rows({}, smallestFirst));
        QVERIFY(second.ledger() != first.ledger());
    }

    void linesAreFollowedIntoTheNextLedger_data() {
        QTest::addColumn<Lines>("before");
        QTest::addColumn<Lines>("after");
        QTest::addColumn<Rows>("expected");
        const Transaction a{.txnId = u"a"_s, .amount = 1};
        const Transaction otherA{.txnId = u"a"_s, .amount = 2};
        const Transaction b{.txnId = u"b"_s};
        const Transaction unnamed{.date = u"2024-05-01"_s, .amount = 3, .name = u"ACME"_s};
        auto posted = unnamed;
        posted.pending = 0;
        const auto elsewhere = called(u"ACME"_s);
        const auto row = [](const char* name, const Lines& before, const Lines& after, const Rows& places) {
            QTest::newRow(name) << before << after << places;
        };
        row("none", {}, {}, {});
        row("a line before them", {a, b}, {unnamed, a, b}, {1, 2});
        row("another amount", {a, b}, {b, otherA}, {1, 0});
        row("gone", {a, b}, {a}, {0, noLine});
        row("all gone", {a, b}, {}, {noLine, noLine});
        row("without an id: date, label and amount", {unnamed}, {a, posted}, {1});
        row("without an id: another date", {unnamed}, {elsewhere}, {noLine});
        row("several of one id keep their order", {a, b, a}, {otherA, a, b}, {0, 2, 1});
        row("fewer of one id", {a, a, b}, {b, a}, {1, noLine, 0});
    }
    void linesAreFollowedIntoTheNextLedger() {
        QFETCH(Lines, before);
        QFETCH(Lines, after);
        QTEST(successors(before, after), "expected");
    }
};

QTEST_APPLESS_MAIN(PreparedLedgerTest)
#include "PreparedLedgerTest.moc"
