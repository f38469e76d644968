#include "ui/ledger/LedgerSearch.h"
#include "support/TestMain.h"

#include <QTest>

#include <numeric>

using namespace quillo;
using namespace Qt::Literals::StringLiterals;

namespace {

/// More descriptions than are told apart.
constexpr std::uint32_t manyLines = 20'000;

Timeline ledgerOfDifferentMerchants() {
    Timeline ledger;
    for (std::uint32_t line = 0; line < manyLines; ++line) {
        ledger.transactions.push_back({.merchant = u"Shop %1!"_s.arg(line), .name = u"SHOP"_s});
    }
    return ledger;
}

std::vector<std::uint32_t> allLines(const Timeline& ledger) {
    std::vector<std::uint32_t> all(ledger.transactions.size());
    std::iota(all.begin(), all.end(), 0U);
    return all;
}

} // namespace

class LedgerSearchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyLineOfManyDifferentOnesIsFoundByItsOwnText() {
        const auto ledger = ledgerOfDifferentMerchants();
        const auto all = allLines(ledger);
        LedgerSearch search;
        search.setLedger(&ledger);
        for (std::uint32_t line = 0; line < manyLines; line += 997) {
            search.setText(u"shop %1!"_s.arg(line));
            QCOMPARE(search.passing(all), std::vector{line});
        }
        search.setText(u"shop %1!"_s.arg(manyLines - 1));
        QCOMPARE(search.passing(all), std::vector{manyLines - 1});
    }

    void aTextThatAllHoldFindsAll() {
        const auto ledger = ledgerOfDifferentMerchants();
        const auto all = allLines(ledger);
        LedgerSearch search;
        search.setLedger(&ledger);
        search.setText(u"shop"_s);
        QCOMPARE(search.passing(all), all);
    }

    void linesKeepTheOrderThatTheyAreAskedIn() {
        const auto ledger = ledgerOfDifferentMerchants();
        LedgerSearch search;
        search.setLedger(&ledger);
        search.setText(u"77"_s);
        QCOMPARE(search.passing({19'977, 5, 770, 277}), (std::vector<std::uint32_t>{19'977, 770, 277}));
    }

    void aMerchantThatComesAgainAfterVeryManyOthersIsFoundEachTime() {
        auto ledger = ledgerOfDifferentMerchants();
        for (const auto line : {1U, 9'000U, manyLines - 1}) {
            ledger.transactions[line].merchant = ledger.transactions[0].merchant;
        }
        LedgerSearch search;
        search.setLedger(&ledger);
        search.setText(u"shop 0!"_s);
        QCOMPARE(search.passing(allLines(ledger)), (std::vector{0U, 1U, 9'000U, manyLines - 1}));
    }

    void anotherLedgerIsSearchedForTheSameText() {
        const auto ledger = ledgerOfDifferentMerchants();
        LedgerSearch search;
        search.setText(u"shop 3!"_s);
        search.setLedger(&ledger);
        QCOMPARE(search.passing({2, 3, 4}), std::vector{3U});
        search.setLedger(nullptr);
        QVERIFY(search.passing({}).empty());
    }
};

QUILLO_TEST(LedgerSearchTest, QCoreApplication)
#include "LedgerSearchTest.moc"
