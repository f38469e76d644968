#include "ui/NumberFormat.h"

#include "support/ChildProcess.h"
#include "support/TestMain.h"

#include <QCoreApplication>
#include <QTest>

#include <cmath>
#include <limits>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using Variables = QMap<QString, QString>;

/// What a program with only these locale variables writes. The locale is read once in a process, so it takes
/// one of its own.
QString written(const Variables& variables, const QStringList& what) {
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto& name : environment.keys()) {
        if (name == u"LANG"_s || name == u"LANGUAGE"_s || name.startsWith(u"LC_"_s)) {
            environment.remove(name);
        }
    }
    for (auto variable = variables.begin(); variable != variables.end(); ++variable) {
        environment.insert(variable.key(), variable.value());
    }
    ChildProcess probe(QCoreApplication::applicationDirPath() + u"/UiProbe"_s, what, environment);
    return QString::fromUtf8(probe.readLine());
}

} // namespace

class NumberFormatTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decimalsAreRoundedHalfToEvenOnTheShortestDecimal_data() {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<QString>("text");
        const auto row = [](double value, int decimals, const char* text) {
            QTest::addRow("%.17g with %d", value, decimals) << value << decimals << QString::fromUtf8(text);
        };
        row(1234.5, 2, "1,234.50");
        row(1234.5, 0, "1,234");
        row(1235.5, 0, "1,236");
        row(87.5, 0, "88");
        row(86.5, 0, "86");
        row(0.5, 0, "0");
        row(1.5, 0, "2");
        row(0.004, 2, "0.00");
        row(0.005, 2, "0.00");
        row(0.015, 2, "0.02");
        row(0.125, 2, "0.12");
        row(0.375, 2, "0.38");
        row(2.675, 2, "2.68"); // a little less in binary, but not as it is written
        row(1.005, 2, "1.00");
        row(1234.567, 2, "1,234.57");
        row(-12.3, 2, "-12.30");
        row(-1234.5, 0, "-1,234");
        row(0, 2, "0.00");
        row(-0.001, 2, "-0.00");
        row(999.995, 2, "1,000.00");
        row(1e6, 0, "1,000,000");
        row(1e15, 2, "1,000,000,000,000,000.00");
        row(123456789012345680.0, 0, "123,456,789,012,345,680");
    }
    void decimalsAreRoundedHalfToEvenOnTheShortestDecimal() {
        QFETCH(double, value);
        QFETCH(int, decimals);
        QFETCH(QString, text);
        QCOMPARE(NumberFormat::decimal(value, decimals), text);
    }

    void everyDoubleHasSomeText() {
        using Limits = std::numeric_limits<double>;
        for (const double value : {Limits::max(), Limits::lowest(), Limits::denorm_min(), Limits::infinity(),
                                   -Limits::infinity(), std::nan("")}) {
            QVERIFY(!NumberFormat::decimal(value, 2).isEmpty());
            QVERIFY(!NumberFormat::dollars(value, 2).isEmpty());
        }
    }

    void dollarsHaveTheSignInFront_data() {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<bool>("always");
        QTest::addColumn<QString>("text");
        QTest::newRow("positive") << 1234.5 << 2 << false << u"$1,234.50"_s;
        QTest::newRow("negative") << -1234.5 << 2 << false << u"-$1,234.50"_s;
        QTest::newRow("no cents") << 86.5 << 0 << false << u"$86"_s;
        QTest::newRow("positive, always") << 12.0 << 2 << true << u"+$12.00"_s;
        QTest::newRow("negative, always") << -12.0 << 2 << true << u"-$12.00"_s;
        QTest::newRow("zero, always") << 0.0 << 2 << true << u"+$0.00"_s;
    }
    void dollarsHaveTheSignInFront() {
        QFETCH(double, value);
        QFETCH(int, decimals);
        QFETCH(bool, always);
        QFETCH(QString, text);
        QCOMPARE(NumberFormat::dollars(
                     value, decimals, always ? NumberFormat::Sign::always : NumberFormat::Sign::negativeOnly),
                 text);
    }

    void theLocaleIsTheUsers_data() {
        QTest::addColumn<Variables>("variables");
        QTest::addColumn<QString>("decimal"); // of -1234567.5 with two digits
        const auto row = [](const char* name, const Variables& variables, const QString& text) {
            QTest::newRow(name) << variables << text;
        };
        const auto english = u"-1,234,567.50"_s;
        const auto german = u"-1.234.567,50"_s;
        row("nothing set", {}, english);
        row("C", {{u"LANG"_s, u"C"_s}}, english);
        row("C.UTF-8", {{u"LC_ALL"_s, u"C.UTF-8"_s}}, english);
        row("POSIX", {{u"LC_ALL"_s, u"POSIX"_s}}, english);
        row("unknown", {{u"LANG"_s, u"zz_ZZ.UTF-8"_s}}, english);
        row("German", {{u"LANG"_s, u"de_DE.UTF-8"_s}}, german);
        row("German without an encoding", {{u"LANG"_s, u"de_DE"_s}}, german);
        row("German with a modifier", {{u"LANG"_s, u"de_DE.UTF-8@euro"_s}}, german);
        row("Swiss", {{u"LANG"_s, u"de_CH.UTF-8"_s}}, u"-1\u2019234\u2019567.50"_s);
        row("French", {{u"LANG"_s, u"fr_FR.UTF-8"_s}}, u"-1\u202f234\u202f567,50"_s);
        row("Swedish", {{u"LANG"_s, u"sv_SE.UTF-8"_s}}, u"\u22121\u00a0234\u00a0567,50"_s);
        row("Indian", {{u"LANG"_s, u"en_IN.UTF-8"_s}}, u"-12,34,567.50"_s);
        row("numbers before language", {{u"LANG"_s, u"en_US.UTF-8"_s}, {u"LC_NUMERIC"_s, u"de_DE.UTF-8"_s}},
            german);
        row("all before numbers", {{u"LC_ALL"_s, u"de_DE.UTF-8"_s}, {u"LC_NUMERIC"_s, u"en_US.UTF-8"_s}},
            german);
        row("C before language", {{u"LC_ALL"_s, u"C"_s}, {u"LANG"_s, u"de_DE.UTF-8"_s}}, english);
        row("empty counts as unset", {{u"LC_ALL"_s, QString()}, {u"LANG"_s, u"de_DE.UTF-8"_s}}, german);
        row("amounts' locale is not the numbers'",
            {{u"LANG"_s, u"en_US.UTF-8"_s}, {u"LC_MONETARY"_s, u"de_DE.UTF-8"_s}}, english);
    }
    void theLocaleIsTheUsers() {
        QFETCH(Variables, variables);
        QFETCH(QString, decimal);
        QCOMPARE(written(variables, {u"decimal"_s, u"-1234567.5"_s, u"2"_s}), decimal);
    }

    void roundingIsTheSameInEveryLocale() {
        const Variables german{{u"LANG"_s, u"de_DE.UTF-8"_s}};
        QCOMPARE(written(german, {u"decimal"_s, u"86.5"_s, u"0"_s}), u"86"_s);
        QCOMPARE(written(german, {u"decimal"_s, u"87.5"_s, u"0"_s}), u"88"_s);
        QCOMPARE(written(german, {u"decimal"_s, u"1234.567"_s, u"2"_s}), u"1.234,57"_s);
    }

    void dollarsFollowTheLocaleOfAmounts() {
        const QStringList amount{u"dollars"_s, u"1234.5"_s, u"2"_s};
        QCOMPARE(written({{u"LANG"_s, u"de_DE.UTF-8"_s}}, amount), u"1.234,50\u00a0$"_s);
        QCOMPARE(written({{u"LANG"_s, u"en_US.UTF-8"_s}, {u"LC_MONETARY"_s, u"de_DE.UTF-8"_s}}, amount),
                 u"1.234,50\u00a0$"_s);
        QCOMPARE(written({{u"LANG"_s, u"en_US.UTF-8"_s}, {u"LC_NUMERIC"_s, u"de_DE.UTF-8"_s}}, amount),
                 u"$1,234.50"_s);
        QCOMPARE(written({{u"LANG"_s, u"en_GB.UTF-8"_s}}, amount), u"US$1,234.50"_s);
    }
};

QUILLO_TEST(NumberFormatTest, QCoreApplication)
#include "NumberFormatTest.moc"
