#include "support/TestMain.h"
#include "ui/NumberFormat.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

class ShortAmountTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anyAmountIsAFewCharacters_data() {
        QTest::addColumn<double>("dollars");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, double dollars, const QString& text) {
            QTest::newRow(name) << dollars << text;
        };
        row("nothing owed", 0, u"0"_s);
        row("cents", 0.49, u"0"_s);
        row("credit of cents has no sign", -0.3, u"0"_s);
        row("negative zero", -0.0, u"0"_s);
        row("half a dollar, to even", 0.5, u"0"_s);
        row("a dollar and a half, to even", 1.5, u"2"_s);
        row("hundreds", 832.1, u"832"_s);
        row("just below a thousand", 999.49, u"999"_s);
        row("rounded to a thousand", 999.5, u"1k"_s);
        row("a thousand", 1000, u"1k"_s);
        row("no tenth", 1049.99, u"1k"_s);
        row("a tenth", 1234.5, u"1.2k"_s);
        row("tenths to even, down", 1250, u"1.2k"_s);
        row("tenths to even, up", 1350, u"1.4k"_s);
        row("the last with a tenth", 9949.99, u"9.9k"_s);
        row("rounded to two digits", 9950, u"10k"_s);
        row("one below ten thousand", 9999, u"10k"_s);
        row("two digits", 12'345, u"12k"_s);
        row("three digits", 999'499, u"999k"_s);
        row("rounded to a million", 999'500, u"1M"_s);
        row("millions", 1'234'567, u"1.2M"_s);
        row("billions", 1.26e9, u"1.3B"_s);
        row("trillions", 2.5e13, u"25T"_s);
        row("the last with a number", 999.4e12, u"999T"_s);
        row("too large for a number", 1e15, u"999T+"_s);
        row("the largest", 1.7976931348623157e308, u"999T+"_s);
        row("credit", -832, u"-832"_s);
        row("credit of thousands", -1234.5, u"-1.2k"_s);
        row("credit beyond a number", -1e300, u"-999T+"_s);
        row("the smallest", 5e-324, u"0"_s);
    }

    void anyAmountIsAFewCharacters() {
        QFETCH(double, dollars);
        QFETCH(QString, text);
        QCOMPARE(NumberFormat::shortDollars(dollars), text);
        QVERIFY(text.size() <= 6);
    }
};

QUILLO_TEST(ShortAmountTest, QCoreApplication)
#include "ShortAmountTest.moc"
