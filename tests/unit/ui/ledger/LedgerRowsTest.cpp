#include "ui/ledger/LedgerRows.h"
#include "support/TestMain.h"

#include <QTest>

#include <numeric>

using namespace quillo;

namespace {

struct Line {
    QString date = {};
    double amount = 0;
    std::optional<QString> merchant = {};
    std::optional<QString> name = {};
    double balance = 0;
};

Text text(const std::optional<QString>& value) {
    return value ? Text(*value) : Text();
}

Timeline ledgerOf(const std::vector<Line>& lines) {
    Timeline ledger;
    for (const auto& line : lines) {
        Transaction transaction;
        transaction.date = line.date;
        transaction.amount = line.amount;
        transaction.merchant = text(line.merchant);
        transaction.name = text(line.name);
        transaction.runningBalance = line.balance;
        ledger.transactions.push_back(transaction);
    }
    return ledger;
}

using Rows = std::vector<std::uint32_t>;

} // namespace

class LedgerRowsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNewestDateComesFirstAtFirst() {
        const auto ledger = ledgerOf(
            {{QStringLiteral("2024-05-01")}, {QStringLiteral("2024-05-03")}, {QStringLiteral("2023-12-31")}});
        LedgerRows rows;
        rows.setLedger(&ledger);
        QCOMPARE(rows.rows(), (Rows{1, 0, 2}));
    }

    void linesThatCompareEqualKeepTheBackendsOrderInBothDirections() {
        const auto ledger = ledgerOf({{.date = QStringLiteral("2024-05-01"), .amount = 5},
                                      {.date = QStringLiteral("2024-05-02"), .amount = 5},
                                      {.date = QStringLiteral("2024-05-01"), .amount = 5},
                                      {.date = QStringLiteral("2024-05-02"), .amount = 4}});
        LedgerRows rows;
        rows.setLedger(&ledger);
        QCOMPARE(rows.rows(), (Rows{1, 3, 0, 2}));
        rows.setSortOrder({.column = LedgerColumn::date, .direction = Qt::AscendingOrder});
        QCOMPARE(rows.rows(), (Rows{0, 2, 1, 3}));
        rows.setSortOrder({.column = LedgerColumn::amount, .direction = Qt::DescendingOrder});
        QCOMPARE(rows.rows(), (Rows{0, 1, 2, 3}));
        rows.setSortOrder({.column = LedgerColumn::amount, .direction = Qt::AscendingOrder});
        QCOMPARE(rows.rows(), (Rows{3, 0, 1, 2}));
    }

    void amountsAreComparedAsNumbers() {
        const auto ledger = ledgerOf({{.amount = 9},
                                      {.amount = -100},
                                      {.amount = 10},
                                      {.amount = 0.0},
                                      {.amount = -0.0},
                                      {.amount = 1e308},
                                      {.amount = -1e308},
                                      {.amount = 5e-324}});
        LedgerRows rows;
        rows.setLedger(&ledger);
        rows.setSortOrder({.column = LedgerColumn::amount, .direction = Qt::AscendingOrder});
        QCOMPARE(rows.rows(), (Rows{6, 1, 3, 4, 7, 0, 2, 5}));
    }

    void balancesAreAColumnOfTheirOwn() {
        const auto ledger = ledgerOf({{.amount = 1, .balance = 2}, {.amount = 2, .balance = 1}});
        LedgerRows rows;
        rows.setLedger(&ledger);
        rows.setSortOrder({.column = LedgerColumn::runningBalance, .direction = Qt::DescendingOrder});
        QCOMPARE(rows.rows(), (Rows{0, 1}));
    }

    void datesThatAreNoDatesAreComparedAsText() {
        const auto ledger = ledgerOf({{QStringLiteral("yesterday")},
                                      {QString()},
                                      {QStringLiteral("2024-05-01")},
                                      {QStringLiteral("Äther")}});
        LedgerRows rows;
        rows.setLedger(&ledger);
        rows.setSortOrder({.column = LedgerColumn::date, .direction = Qt::AscendingOrder});
        QCOMPARE(rows.rows(), (Rows{1, 2, 0, 3}));
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
        const auto ledger =
            ledgerOf({{.merchant = QStringLiteral("first")},
                      {.merchant = merchant, .name = name.isNull() ? std::nullopt : std::optional(name)},
                      {.merchant = QStringLiteral("last")}});
        LedgerRows rows;
        rows.setLedger(&ledger);
        rows.setSearch(search);
        const bool found = std::ranges::find(rows.rows(), 1U) != rows.rows().end();
        QTEST(found, "found");
    }

    void aLineWithoutMerchantIsFoundByItsNameAndOneWithoutBothAsACharge() {
        const auto ledger = ledgerOf({{.name = QStringLiteral("ACME")}, {}});
        LedgerRows rows;
        rows.setLedger(&ledger);
        rows.setSearch(QStringLiteral("acme"));
        QCOMPARE(rows.rows(), (Rows{0}));
        rows.setSearch(QStringLiteral("charge"));
        QCOMPARE(rows.rows(), (Rows{1}));
    }

    void linesThatShareAnIdBothShow() {
        const auto ledger =
            ledgerOf({{.date = QStringLiteral("2024-05-01"), .merchant = QStringLiteral("A")},
                      {.date = QStringLiteral("2024-05-01"), .merchant = QStringLiteral("A")}});
        LedgerRows rows;
        rows.setLedger(&ledger);
        rows.setSearch(QStringLiteral("a"));
        QCOMPARE(rows.rows(), (Rows{0, 1}));
    }

    void searchAndOrderOutliveTheLedger() {
        const auto first = ledgerOf({{.merchant = QStringLiteral("A")}, {.merchant = QStringLiteral("B")}});
        const auto second = ledgerOf({{.amount = 1, .merchant = QStringLiteral("B")},
                                      {.merchant = QStringLiteral("A")},
                                      {.amount = 0, .merchant = QStringLiteral("B")}});
        LedgerRows rows;
        rows.setSearch(QStringLiteral("b"));
        rows.setSortOrder({.column = LedgerColumn::amount, .direction = Qt::AscendingOrder});
        rows.setLedger(&first);
        QCOMPARE(rows.rows(), (Rows{1}));
        rows.setLedger(&second);
        QCOMPARE(rows.rows(), (Rows{2, 0}));
        rows.setLedger(nullptr);
        QVERIFY(rows.rows().empty());
    }

    void everyMatchOfManyIsFound() {
        std::vector<Line> lines;
        for (int count = 0; count < 10'000; ++count) {
            lines.push_back({.merchant = QStringLiteral("Merchant %1").arg(count % 700)});
        }
        const auto ledger = ledgerOf(lines);
        LedgerRows rows;
        rows.setLedger(&ledger);
        rows.setSearch(QStringLiteral("merchant 69"));
        const auto expected =
            std::accumulate(lines.begin(), lines.end(), std::size_t{0}, [](auto sum, const auto& line) {
                return sum + (line.merchant->contains(QStringLiteral("Merchant 69")) ? 1 : 0);
            });
        QCOMPARE(rows.rows().size(), expected);
    }
};

QUILLO_TEST(LedgerRowsTest, QCoreApplication)
#include "LedgerRowsTest.moc"
