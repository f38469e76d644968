#include "ui/ledger/LedgerTableModel.h"

#include "support/TestMain.h"
#include "ui/ledger/LedgerLines.h"

#include <QAbstractItemModelTester>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using Tone = LedgerTableModel::Tone;

QVariant cell(const LedgerTableModel& model, LedgerColumn column, int role = Qt::DisplayRole, int row = 0) {
    return model.index(row, static_cast<int>(column)).data(role);
}

QString badge(const LedgerTableModel& model, LedgerColumn column = LedgerColumn::description) {
    return cell(model, column, LedgerTableModel::badgeRole).toString();
}

Tone tone(const LedgerTableModel& model, LedgerColumn column) {
    return static_cast<Tone>(cell(model, column, LedgerTableModel::toneRole).toInt());
}

void show(LedgerTableModel& model, Timeline ledger, const QString& search = {}, LedgerSortOrder order = {}) {
    auto prepared = std::make_shared<const PreparedLedger>(published(std::move(ledger)));
    model.setRows(std::make_shared<const LedgerRows>(LedgerRows::of(std::move(prepared), search, order)));
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
        auto ledger = ledgerOf({{.amount = amount}});
        LedgerTableModel model;
        show(model, std::move(ledger));
        QTEST(cell(model, LedgerColumn::amount).toString(), "text");
        QCOMPARE(tone(model, LedgerColumn::amount), isCharge ? Tone::red : Tone::green);
    }

    void amountsBeyondAllMeasureAreShownAllTheSame() {
        auto ledger = ledgerOf({{.amount = 1e308, .balance = -1e308}});
        LedgerTableModel model;
        show(model, std::move(ledger));
        QVERIFY(cell(model, LedgerColumn::amount).toString().startsWith(u"+$100,000"_s));
        QVERIFY(cell(model, LedgerColumn::runningBalance).toString().startsWith(u"-$100,000"_s));
    }

    void aRunningBalanceHasNoPlusSign() {
        auto ledger = ledgerOf({{.amount = -1, .balance = 832.26}});
        LedgerTableModel model;
        show(model, std::move(ledger));
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
        auto ledger = ledgerOf({{.isPending = isPending, .isSynthetic = true}});
        LedgerTableModel model;
        show(model, std::move(ledger));
        QCOMPARE(badge(model), u"NOT POSTED"_s);
        QCOMPARE(tone(model, LedgerColumn::description), Tone::red);
        QCOMPARE(cell(model, LedgerColumn::description).toString(), u"Shop"_s);
        QCOMPARE(cell(model, LedgerColumn::description, Qt::AccessibleTextRole).toString(),
                 u"Shop, NOT POSTED"_s);
    }

    void aPendingLineSaysSoInTheNormalColour() {
        auto ledger = ledgerOf({{.isPending = true}});
        LedgerTableModel model;
        show(model, std::move(ledger));
        QCOMPARE(badge(model), u"PENDING"_s);
        QCOMPARE(tone(model, LedgerColumn::description), Tone::normal);
        QCOMPARE(cell(model, LedgerColumn::description, Qt::AccessibleTextRole).toString(),
                 u"Shop, PENDING"_s);
    }

    void onlyTheDescriptionHasABadge() {
        auto ledger = ledgerOf({{.isSynthetic = true}, {}});
        LedgerTableModel model;
        show(model, std::move(ledger));
        QCOMPARE(badge(model, LedgerColumn::date), QString());
        QCOMPARE(badge(model, LedgerColumn::amount), QString());
        QCOMPARE(cell(model, LedgerColumn::description, LedgerTableModel::badgeRole, 1).toString(),
                 QString());
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
        auto ledger = ledgerOf({{.merchant = merchant}});
        LedgerTableModel model;
        show(model, std::move(ledger));
        QTEST(cell(model, LedgerColumn::description).toString(), "shown");
    }

    void datesThatAreNoDatesAreShownAsTheyCame() {
        auto ledger = ledgerOf({{.date = u"tomorrow"_s}, {.date = u""_s}, {.date = u"2024-13-99"_s}});
        LedgerTableModel model;
        show(model, std::move(ledger));
        QCOMPARE(column(model, LedgerColumn::date), (QStringList{u"tomorrow"_s, u"2024-13-99"_s, u""_s}));
    }

    void twoLinesWithTheSameIdBothShow() {
        auto ledger = ledgerOf(
            {{.merchant = u"A"_s, .id = Text(u"same"_s)}, {.merchant = u"B"_s, .id = Text(u"same"_s)}});
        LedgerTableModel model;
        show(model, std::move(ledger));
        QCOMPARE(column(model, LedgerColumn::description), (QStringList{u"A"_s, u"B"_s}));
    }

    void aCellThatIsNotThereAnyMoreIsBlank() {
        LedgerTableModel model;
        show(model, ledgerOf({{}, {}}));
        const auto last = model.index(1, 1);
        show(model, ledgerOf({{}}));
        QVERIFY(!model.data(last, Qt::DisplayRole).isValid());
    }

    void theModelKeepsTheLedgerThatItShows() {
        LedgerTableModel model;
        std::weak_ptr<const Timeline> watched;
        {
            auto ledger = published(ledgerOf({{.merchant = u"kept"_s}}));
            watched = ledger;
            model.setRows(std::make_shared<const LedgerRows>(
                LedgerRows::of(std::make_shared<const PreparedLedger>(std::move(ledger)), {}, {})));
        }
        QVERIFY(!watched.expired());
        QCOMPARE(cell(model, LedgerColumn::description).toString(), u"kept"_s);
        model.setRows(std::make_shared<const LedgerRows>());
        QVERIFY(watched.expired());
        QCOMPARE(model.rowCount(), 0);
    }

    void keepsTheRulesOfItemModels() {
        LedgerTableModel model;
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        const auto ledger = ledgerOf({{}, {.merchant = u"B"_s}});
        show(model, ledger);
        show(model, ledger, u"b"_s, {.column = LedgerColumn::amount, .direction = Qt::AscendingOrder});
        model.setRows(std::make_shared<const LedgerRows>());
    }
};

QUILLO_TEST(LedgerTableModelTest, QCoreApplication)
#include "LedgerTableModelTest.moc"
