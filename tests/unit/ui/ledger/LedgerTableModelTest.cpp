#include "ui/ledger/LedgerTableModel.h"

#include "support/TestMain.h"
#include "ui/ledger/LedgerLines.h"

#include <QAbstractItemModelTester>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using Badge = LedgerTableModel::Badge;
using Tone = LedgerTableModel::Tone;

QVariant cell(const LedgerTableModel& model, LedgerColumn column, int role = Qt::DisplayRole, int row = 0) {
    return model.index(row, static_cast<int>(column)).data(role);
}

Badge badge(const LedgerTableModel& model, LedgerColumn column = LedgerColumn::description) {
    return static_cast<Badge>(cell(model, column, LedgerTableModel::badgeRole).toInt());
}

Tone tone(const LedgerTableModel& model, LedgerColumn column) {
    return static_cast<Tone>(cell(model, column, LedgerTableModel::toneRole).toInt());
}

QStringList column(const LedgerTableModel& model, LedgerColumn which) {
    QStringList all;
    for (int row = 0; row < model.rowCount(); ++row) {
        all += cell(model, which, Qt::DisplayRole, row).toString();
    }
    return all;
}

} // namespace

class LedgerTableModelTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void columnsComeInTheirOrderWithTheirTitles() {
        const LedgerTableModel model;
        QStringList titles;
        for (int section = 0; section < model.columnCount(); ++section) {
            titles += model.headerData(section, Qt::Horizontal, Qt::DisplayRole).toString();
        }
        QCOMPARE(titles,
                 (QStringList{u"Date"_s, u"Merchant / description"_s, u"Amount"_s, u"Running balance"_s}));
    }

    void anAmountShowsItsSignAndWhatItMeans_data() {
        QTest::addColumn<double>("amount");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isCharge");
        QTest::newRow("charge") << 1234.5 << u"+$1,234.50"_s << true;
        QTest::newRow("payment") << -412.5 << u"-$412.50"_s << false;
        QTest::newRow("zero") << 0.0 << u"+$0.00"_s << true;
        QTest::newRow("negative zero") << -0.0 << u"+$0.00"_s << true;
        QTest::newRow("half a cent to even") << 0.125 << u"+$0.12"_s << true;
        QTest::newRow("less than a cent, paid") << -0.001 << u"-$0.00"_s << false;
    }
    void anAmountShowsItsSignAndWhatItMeans() {
        QFETCH(double, amount);
        QFETCH(bool, isCharge);
        const auto ledger = ledgerOf({{.amount = amount}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        QTEST(cell(model, LedgerColumn::amount).toString(), "text");
        QCOMPARE(tone(model, LedgerColumn::amount), isCharge ? Tone::charge : Tone::credit);
    }

    void amountsBeyondAllMeasureAreShownAllTheSame() {
        const auto ledger = ledgerOf({{.amount = 1e308, .balance = -1e308}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        QVERIFY(cell(model, LedgerColumn::amount).toString().startsWith(u"+$100,000"_s));
        QVERIFY(cell(model, LedgerColumn::runningBalance).toString().startsWith(u"-$100,000"_s));
    }

    void aRunningBalanceHasNoPlusSign() {
        const auto ledger = ledgerOf({{.amount = -1, .balance = 832.26}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        QCOMPARE(cell(model, LedgerColumn::runningBalance).toString(), u"$832.26"_s);
        QCOMPARE(tone(model, LedgerColumn::runningBalance), Tone::normal);
    }

    void aSyntheticLineIsRedAndNotPostedEvenWhenItIsAlsoPending_data() {
        QTest::addColumn<bool>("isPending");
        QTest::newRow("pending") << true;
        QTest::newRow("not pending") << false;
    }
    void aSyntheticLineIsRedAndNotPostedEvenWhenItIsAlsoPending() {
        QFETCH(bool, isPending);
        const auto ledger = ledgerOf({{.isPending = isPending, .isSynthetic = true}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        QCOMPARE(badge(model), Badge::notPosted);
        QCOMPARE(tone(model, LedgerColumn::description), Tone::alert);
        QCOMPARE(cell(model, LedgerColumn::description).toString(), u"Shop"_s);
        QCOMPARE(cell(model, LedgerColumn::description, Qt::AccessibleTextRole).toString(),
                 u"Shop, NOT POSTED"_s);
    }

    void aPendingLineSaysSoInTheNormalColour() {
        const auto ledger = ledgerOf({{.isPending = true}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        QCOMPARE(badge(model), Badge::pending);
        QCOMPARE(tone(model, LedgerColumn::description), Tone::normal);
        QCOMPARE(cell(model, LedgerColumn::description, Qt::AccessibleTextRole).toString(),
                 u"Shop, PENDING"_s);
    }

    void onlyTheDescriptionHasABadge() {
        const auto ledger = ledgerOf({{.isSynthetic = true}, {}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        QCOMPARE(badge(model, LedgerColumn::date), Badge::none);
        QCOMPARE(badge(model, LedgerColumn::amount), Badge::none);
        QCOMPARE(cell(model, LedgerColumn::description, LedgerTableModel::badgeRole, 1).toInt(),
                 static_cast<int>(Badge::none));
        QCOMPARE(cell(model, LedgerColumn::description, Qt::AccessibleTextRole, 1).toString(), u"Shop"_s);
    }

    void whateverAMerchantIsCalledIsOneHarmlessLine_data() {
        QTest::addColumn<QString>("merchant");
        QTest::addColumn<QString>("shown");
        QTest::newRow("markup") << u"<b>A&amp;B</b>"_s << u"<b>A&amp;B</b>"_s;
        QTest::newRow("empty") << u""_s << u""_s;
        QTest::newRow("right to left") << u"مقهى القاهرة"_s << u"مقهى القاهرة"_s;
        QTest::newRow("turns what follows around") << u"A\u202eB"_s << u"AB"_s;
        QTest::newRow("several lines") << u"A\nB\r\tC"_s << u"A B  C"_s;
        QTest::newRow("very long") << QString(100'000, u'x') << QString(499, u'x') + u'…';
    }
    void whateverAMerchantIsCalledIsOneHarmlessLine() {
        QFETCH(QString, merchant);
        const auto ledger = ledgerOf({{.merchant = merchant}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        QTEST(cell(model, LedgerColumn::description).toString(), "shown");
    }

    void datesThatAreNoDatesAreShownAsTheyCame() {
        const auto ledger = ledgerOf({{.date = u"tomorrow"_s}, {.date = u""_s}, {.date = u"2024-13-99"_s}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        QCOMPARE(column(model, LedgerColumn::date), (QStringList{u"tomorrow"_s, u"2024-13-99"_s, u""_s}));
    }

    void theDescriptionDoesNotSort() {
        const auto ledger = ledgerOf({{.merchant = u"B"_s}, {.merchant = u"C"_s}, {.merchant = u"A"_s}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        model.sort(static_cast<int>(LedgerColumn::description), Qt::AscendingOrder);
        QCOMPARE(column(model, LedgerColumn::description), (QStringList{u"B"_s, u"C"_s, u"A"_s}));
        QCOMPARE(model.sortOrder(), LedgerSortOrder{});
    }

    void linesThatCompareEqualKeepTheBackendsOrder() {
        const auto ledger = ledgerOf({{.merchant = u"first"_s, .amount = 5},
                                      {.merchant = u"smaller"_s, .amount = 4},
                                      {.merchant = u"second"_s, .amount = 5}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        model.sort(static_cast<int>(LedgerColumn::amount), Qt::DescendingOrder);
        QCOMPARE(column(model, LedgerColumn::description),
                 (QStringList{u"first"_s, u"second"_s, u"smaller"_s}));
        model.sort(static_cast<int>(LedgerColumn::amount), Qt::AscendingOrder);
        QCOMPARE(column(model, LedgerColumn::description),
                 (QStringList{u"smaller"_s, u"first"_s, u"second"_s}));
    }

    void twoLinesWithTheSameIdBothShow() {
        const auto ledger = ledgerOf(
            {{.merchant = u"A"_s, .id = Text(u"same"_s)}, {.merchant = u"B"_s, .id = Text(u"same"_s)}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        QCOMPARE(column(model, LedgerColumn::description), (QStringList{u"A"_s, u"B"_s}));
    }

    void cellsAreBlankWhileTheLedgerChanges() {
        const auto ledger = ledgerOf({{}, {}});
        LedgerTableModel model;
        model.setLedger(&ledger);
        model.detach();
        QCOMPARE(model.rowCount(), 2);
        QVERIFY(!cell(model, LedgerColumn::description).isValid());
        QCOMPARE(model.line(0), nullptr);
        model.setLedger(nullptr);
        QCOMPARE(model.rowCount(), 0);
    }

    void keepsTheRulesOfItemModels() {
        const auto ledger = ledgerOf({{}, {.merchant = u"B"_s}});
        LedgerTableModel model;
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setLedger(&ledger);
        model.setSearch(u"b"_s);
        model.sort(static_cast<int>(LedgerColumn::amount), Qt::AscendingOrder);
        model.detach();
        model.setLedger(nullptr);
    }
};

QUILLO_TEST(LedgerTableModelTest, QCoreApplication)
#include "LedgerTableModelTest.moc"
