#include "core/UserCharacters.h"
#include "support/TestMain.h"

#include <QTest>

using namespace quillo;

class UserCharactersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void charactersAreCountedAsAReaderCountsThem_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("expected");
        QTest::newRow("empty") << QString() << 3 << QString();
        QTest::newRow("none asked for") << QStringLiteral("abc") << 0 << QString();
        QTest::newRow("shorter") << QStringLiteral("ab") << 3 << QStringLiteral("ab");
        QTest::newRow("letters") << QStringLiteral("abcdef") << 3 << QStringLiteral("abc");
        QTest::newRow("combining mark") << QStringLiteral("e\u0301tude") << 2 << QStringLiteral("e\u0301t");
        QTest::newRow("stacked marks")
            << QStringLiteral("a\u0323\u0302bc") << 1 << QStringLiteral("a\u0323\u0302");
        QTest::newRow("surrogate pair") << QStringLiteral("😀😀😀") << 2 << QStringLiteral("😀😀");
        QTest::newRow("flags") << QStringLiteral("🇩🇪🇫🇷🇯🇵") << 2 << QStringLiteral("🇩🇪🇫🇷");
        QTest::newRow("family") << QStringLiteral("👨‍👩‍👧‍👦x") << 1
                                << QStringLiteral("👨‍👩‍👧‍👦");
        QTest::newRow("skin tone") << QStringLiteral("👍🏽👍🏽") << 1 << QStringLiteral("👍🏽");
        QTest::newRow("Hangul jamo") << QStringLiteral("\u1112\u1161\u11ab\u1100\u1173\u11af") << 1
                                     << QStringLiteral("\u1112\u1161\u11ab");
        QTest::newRow("Thai") << QStringLiteral("กำนี้") << 2 << QStringLiteral("กำนี้");
        QTest::newRow("line break") << QStringLiteral("\r\n\r\n") << 1 << QStringLiteral("\r\n");
        QTest::newRow("lone surrogate")
            << QString(QChar(0xd83d)) + QStringLiteral("ab") << 2 << QString(QChar(0xd83d)) + u'a';
    }
    void charactersAreCountedAsAReaderCountsThem() {
        QFETCH(QString, text);
        QFETCH(int, count);
        QTEST(firstUserCharacters(text, count), "expected");
    }
};

QUILLO_TEST(UserCharactersTest, QCoreApplication)
#include "UserCharactersTest.moc"
