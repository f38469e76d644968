#include "ui/ledger/LedgerOrder.h"
#include "support/TestMain.h"

#include <QTest>

#include <limits>
#include <numeric>
#include <random>

using namespace quillo;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Long enough for the way of sorting that long ledgers take.
constexpr int longLedger = 5000;

/// Amounts and dates that come several times, negative ones among them.
std::vector<Transaction> lines(int count) {
    std::mt19937 random(7);
    std::vector<Transaction> made;
    for (int line = 0; line < count; ++line) {
        made.push_back({.txnId = u"line %1"_s.arg(line),
                        .date = u"20%1-05-01"_s.arg(random() % 90 + 10),
                        .amount = (static_cast<double>(random() % 2000) - 1000) / 100,
                        .runningBalance = -1.5 * static_cast<double>(random() % 3)});
    }
    return made;
}

template <typename Key>
std::vector<std::uint32_t> expected(const std::vector<Transaction>& lines, Key Transaction::*member,
                                    Qt::SortOrder direction) {
    std::vector<std::uint32_t> order(lines.size());
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::stable_sort(order, [&](auto left, auto right) {
        return direction == Qt::AscendingOrder ? lines[left].*member < lines[right].*member
                                               : lines[right].*member < lines[left].*member;
    });
    return order;
}

} // namespace

class LedgerOrderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aLongLedgerIsSortedLikeAShortOne_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<Qt::SortOrder>("direction");
        for (const int count : {0, 1, 2, 100, longLedger}) {
            QTest::addRow("%d lines, ascending", count) << count << Qt::AscendingOrder;
            QTest::addRow("%d lines, descending", count) << count << Qt::DescendingOrder;
        }
    }

    void aLongLedgerIsSortedLikeAShortOne() {
        QFETCH(int, count);
        QFETCH(Qt::SortOrder, direction);
        const auto ledger = lines(count);
        QCOMPARE(sortedLines(ledger, {LedgerColumn::date, direction}),
                 expected(ledger, &Transaction::date, direction));
        QCOMPARE(sortedLines(ledger, {LedgerColumn::amount, direction}),
                 expected(ledger, &Transaction::amount, direction));
        QCOMPARE(sortedLines(ledger, {LedgerColumn::runningBalance, direction}),
                 expected(ledger, &Transaction::runningBalance, direction));
    }

    void theLargestAndTheSmallestAmountsFindTheirEnds() {
        auto ledger = lines(longLedger);
        ledger[40].amount = std::numeric_limits<double>::max();
        ledger[30].amount = std::numeric_limits<double>::lowest();
        ledger[20].amount = -0.0;
        ledger[21].amount = 0.0;
        ledger[10].amount = std::numeric_limits<double>::denorm_min();

        const auto order = sortedLines(ledger, {LedgerColumn::amount, Qt::AscendingOrder});

        QCOMPARE(order.front(), 30U);
        QCOMPARE(order.back(), 40U);
        QCOMPARE(order, expected(ledger, &Transaction::amount, Qt::AscendingOrder));
    }

    void equalDatesThatAreNotSharedAreEqual() {
        auto ledger = lines(longLedger);
        for (auto& line : ledger) {
            line.date = QString(u"2024-05-0%1"_s).arg(line.amount < 0 ? 1 : 2);
        }
        QCOMPARE(sortedLines(ledger, {LedgerColumn::date, Qt::DescendingOrder}),
                 expected(ledger, &Transaction::date, Qt::DescendingOrder));
    }
};

QUILLO_TEST(LedgerOrderTest, QCoreApplication)
#include "LedgerOrderTest.moc"
