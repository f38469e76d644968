#include "core/PlainText.h"
#include "support/TestMain.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

class PlainTextTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsWhatPeopleWrite_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QTest::newRow("amount") << u"$1,234 + $88 pend"_s;
        QTest::newRow("other scripts") << u"Ωδείο · القهوة · 寿司 · กาแฟ"_s;
        QTest::newRow("emoji family") << u"👨‍👩‍👧‍👦 café 🇩🇪"_s;
        QTest::newRow("markup") << u"<b>AT&T</b> &amp; \"sons\""_s;
        QTest::newRow("direction marks") << u"a\u200Eb\u200Fc"_s;
        QTest::newRow("no-break space") << u"1\u00A0234 €\u202F"_s;
    }

    void keepsWhatPeopleWrite() {
        QFETCH(QString, text);
        QCOMPARE(plainLine(text), text);
    }

    void makesOneHarmlessLine_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("line");
        QTest::newRow("NUL") << u"a"_s + QChar(u'\0') + u"b"_s << u"a b"_s;
        QTest::newRow("line breaks") << u"a\nb\r\nc\u2028d\u2029e\u0085f"_s << u"a b  c d e f"_s;
        QTest::newRow("tab and escape") << u"a\tb\x1b[31mc\x7f"_s << u"a b [31mc "_s;
        QTest::newRow("right-to-left override") << u"evil\u202Egnp.exe\u202C!"_s << u"evilgnp.exe!"_s;
        QTest::newRow("embeddings and isolates")
            << u"\u202Aa\u202Bb\u202Dc\u2066d\u2067e\u2068f\u2069"_s << u"abcdef"_s;
        QTest::newRow("lone high surrogate") << u"a"_s + QChar(0xD83D) + u"b"_s << u"a\uFFFDb"_s;
        QTest::newRow("lone low surrogate") << QString(QChar(0xDE00)) + u"b"_s << u"\uFFFDb"_s;
        QTest::newRow("high surrogate at the end") << u"a"_s + QChar(0xD83D) << u"a\uFFFD"_s;
        QTest::newRow("pair beside a control") << u"😀\n😀"_s << u"😀 😀"_s;
    }

    void makesOneHarmlessLine() {
        QFETCH(QString, text);
        QFETCH(QString, line);
        QCOMPARE(plainLine(text), line);
    }

    void aLineOfTheGreatestLengthStaysWhole() {
        const QString longest(longestLine, u'x');
        QCOMPARE(plainLine(longest), longest);
    }

    void aLongerLineEndsInAnEllipsis_data() {
        QTest::addColumn<QString>("part");
        QTest::newRow("letter") << u"x"_s;
        QTest::newRow("emoji") << u"😀"_s;
        QTest::newRow("family") << u"👨‍👩‍👧‍👦"_s;
        QTest::newRow("accent") << u"e\u0301"_s;
        QTest::newRow("flag") << u"🇩🇪"_s;
        QTest::newRow("control") << u"a\n"_s;
    }

    void aLongerLineEndsInAnEllipsis() {
        QFETCH(QString, part);
        const auto line = plainLine(part.repeated(10'000));
        QVERIFY(line.size() <= longestLine);
        QVERIFY(line.size() > longestLine - 20);
        QVERIFY(line.endsWith(u'…'));
        auto whole = part;
        whole.replace(u'\n', u' ');
        const auto parts = (line.size() - 1) / whole.size();
        const auto rest = line.sliced(parts * whole.size(), (line.size() - 1) % whole.size());
        QCOMPARE(line.left(parts * whole.size()), whole.repeated(parts));
        QVERIFY2(rest.isEmpty() || part == u"a\n", "a user-perceived character was cut apart");
    }

    void aLineOfCombiningMarksIsStillBounded() {
        const auto line = plainLine(u"a"_s + QString(10'000, QChar(0x0301)));
        QVERIFY(line.size() <= longestLine);
        QVERIFY(line.isValidUtf16());
    }

    void aToolTipTakesNothingForMarkup() {
        QCOMPARE(toolTipLine(u"<b>a</b> & b"_s), u"‹b>a‹/b> ＆ b"_s);
        QCOMPARE(toolTipLine(u"$12.50"_s), u"$12.50"_s);
    }
};

QUILLO_TEST(PlainTextTest, QCoreApplication)
#include "PlainTextTest.moc"
