#include "ui/ledger/LedgerHeader.h"
#include "ui/ledger/LedgerLines.h"
#include "ui/ledger/LedgerTable.h"
#include "ui/ledger/LedgerTableStyle.h"

#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto leftToRightMark = QChar(0x200E);

/// How many columns of pixels at the left of the picture are all the same: background.
int emptyColumns(const QImage& picture) {
    for (int x = 0; x < picture.width(); ++x) {
        for (int y = 0; y < picture.height(); ++y) {
            if (picture.pixel(x, y) != picture.pixel(0, y)) {
                return x;
            }
        }
    }
    return picture.width();
}

/// Where the figure's digits stand, from the top of the header.
int baseline(const QLabel& figure) {
    const auto text = figure.contentsRect();
    const auto bottom = figure.mapTo(figure.window(), text.bottomLeft()).y();
    return bottom - figure.fontMetrics().descent();
}

LedgerHeaderContent contentOf(Timeline ledger) {
    return LedgerHeaderContent::of({.live = published(std::move(ledger))});
}

} // namespace

/// What the eye sees of the ledger window. This process speaks Egyptian Arabic.
class LedgerLooksTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("LC_ALL", "ar_EG.UTF-8"); }

    void amountsInARightToLeftScriptStayInTheLinesOfTheHeader() {
        LedgerHeader header;
        header.setContent(contentOf({.totalOwed = 832.26, .available = 11'044.65}));
        QStringList amounts;
        for (const auto* label : header.findChildren<QLabel*>()) {
            if (label->text().contains(u"US$"_s)) {
                amounts += label->text();
            }
        }
        QVERIFY(amounts.size() >= 2);
        for (const auto& amount : amounts) {
            QVERIFY2(!amount.isRightToLeft(), qPrintable(amount));
        }
        QVERIFY(amounts.contains(leftToRightMark + u"\u200f٨٣٢٫٢٦\u00a0US$"_s));
    }

    void figuresOfEverySizeStandOnOneLine() {
        LedgerHeader header;
        header.setContent(
            contentOf({.totalOwed = 832.26, .pendingHolds = 123.09, .totalWithPending = 955.35}));
        header.resize(900, header.sizeHint().height());
        header.show();
        QSet<int> baselines;
        QSet<double> sizes;
        for (const auto* label : header.findChildren<QLabel*>()) {
            const bool isFigure = label->text().contains(u"US$"_s) && !label->text().contains(u"vailable"_s);
            if (label->isVisible() && (isFigure || label->text() == u"pending"_s)) {
                baselines += baseline(*label);
                sizes += label->font().pointSizeF();
            }
        }
        QCOMPARE(sizes.size(), 3);
        QCOMPARE(baselines.size(), 1);
    }

    void textsOfTheTableAndItsHeaderBeginOneBelowTheOther() {
        Timeline ledger;
        Transaction coffee;
        coffee.date = u"2026-11-20"_s;
        coffee.name = u"Coffee"_s;
        ledger.transactions.push_back(coffee);
        LedgerTable table;
        table.setLedger(published(std::move(ledger)));
        table.resize(700, 200);
        table.show();
        const auto description = table.columnViewportPosition(1) + table.columnWidth(1) / 2;
        const auto first = table.columnViewportPosition(1) + 2;
        const QRect cell(first, table.rowViewportPosition(0) + 2, description - first,
                         table.rowHeight(0) - 4);
        const auto* header = table.horizontalHeader();
        const QRect title(first, 2, description - first, header->height() - 6);
        const auto cellInset = emptyColumns(table.viewport()->grab(cell).toImage()) + 2;
        const auto titleInset = emptyColumns(header->viewport()->grab(title).toImage()) + 2;
        // A letter brings a pixel or two of its own.
        QVERIFY2(std::abs(cellInset - titleInset) <= 2,
                 qPrintable(u"%1, %2"_s.arg(cellInset).arg(titleInset)));
        QVERIFY(cellInset >= LedgerTableStyle::textInset && cellInset <= LedgerTableStyle::textInset + 3);
    }
};

QTEST_MAIN(LedgerLooksTest)
#include "LedgerLooksTest.moc"
