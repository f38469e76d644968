#include "model/Text.h"
#include "model/TextPool.h"
#include "support/TestMain.h"

#include <QTest>

#include <string>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using quillo::Text;
using quillo::TextPool;

class TextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void aTextMadeOfNothingIsAbsent();
    void theEmptyTextIsPresent();
    void textsReadBackAsTheyWere_data();
    void textsReadBackAsTheyWere();
    void anUnpairedSurrogateIsReplaced();
    void copiesShareTheirBytes();
    void aMovedTextLeavesAbsence();
    void equalityLooksAtPresenceAndContent_data();
    void equalityLooksAtPresenceAndContent();
    void thePoolStoresEqualTextsOnce();
    void thePoolKeepsEveryOfManyTexts();
};

void TextTest::aTextMadeOfNothingIsAbsent() {
    for (const Text& text : {Text(), Text(std::nullopt)}) {
        QVERIFY(!text.has_value());
        QVERIFY(!text);
        QCOMPARE(text.value_or(u"other"_s), u"other"_s);
        QVERIFY(text.utf8().isNull());
    }
}

void TextTest::theEmptyTextIsPresent() {
    for (const Text& text : {Text(u""_s), Text(QString()), Text::fromUtf8("")}) {
        QVERIFY(text.has_value());
        QCOMPARE(*text, QString());
        QCOMPARE(text.value_or(u"other"_s), QString());
    }
}

void TextTest::textsReadBackAsTheyWere_data() {
    QTest::addColumn<QString>("string");
    QTest::newRow("ASCII") << u"Blue Bottle Coffee"_s;
    QTest::newRow("one letter") << u"x"_s;
    QTest::newRow("two-byte letters") << u"Café Zürich"_s;
    QTest::newRow("three-byte letters") << u"日本語の店"_s;
    QTest::newRow("beyond the basic plane") << u"🍕 Pizza"_s;
    QTest::newRow("zero inside") << QString(u"a\0b"_s);
    QTest::newRow("byte-order marks at the start") << u"\uFEFF\uFEFFCafe"_s;
    QTest::newRow("long") << QString(100'000, u'ä');
}

void TextTest::textsReadBackAsTheyWere() {
    QFETCH(QString, string);
    const Text text = string;
    QVERIFY(text);
    QCOMPARE(*text, string);
    QCOMPARE(text.value_or(u"other"_s), string);
    QCOMPARE(Text::fromUtf8(string.toUtf8()), text);
    QCOMPARE(text.utf8().size(), string.toUtf8().size());
}

void TextTest::anUnpairedSurrogateIsReplaced() {
    const Text text = QString(QChar(0xD83C));
    QVERIFY(text);
    QVERIFY(text.utf8().isValidUtf8());
    QCOMPARE((*text).size(), 1);
}

void TextTest::copiesShareTheirBytes() {
    Text copy;
    const char* bytes = nullptr;
    {
        const Text text = u"Cafe"_s;
        bytes = text.utf8().data();
        copy = text;
    }
    QVERIFY(copy.utf8().data() == bytes);
    QCOMPARE(*copy, u"Cafe"_s);
}

void TextTest::aMovedTextLeavesAbsence() {
    Text text = u"Cafe"_s;
    const Text moved = std::move(text);
    QCOMPARE(*moved, u"Cafe"_s);
    QVERIFY(!text.has_value());
}

void TextTest::equalityLooksAtPresenceAndContent_data() {
    QTest::addColumn<Text>("left");
    QTest::addColumn<Text>("right");
    QTest::addColumn<bool>("equal");
    QTest::newRow("both absent") << Text() << Text() << true;
    QTest::newRow("absent and empty") << Text() << Text(u""_s) << false;
    QTest::newRow("empty and absent") << Text(u""_s) << Text() << false;
    QTest::newRow("both empty") << Text(u""_s) << Text(u""_s) << true;
    QTest::newRow("same content, made apart") << Text(u"Café"_s) << Text::fromUtf8("Caf\xC3\xA9") << true;
    QTest::newRow("other content of the same length") << Text(u"Cafe"_s) << Text(u"Cave"_s) << false;
    QTest::newRow("start of the other") << Text(u"Cafe"_s) << Text(u"Cafe 2"_s) << false;
    QTest::newRow("other case") << Text(u"cafe"_s) << Text(u"Cafe"_s) << false;
}

void TextTest::equalityLooksAtPresenceAndContent() {
    QFETCH(Text, left);
    QFETCH(Text, right);
    QFETCH(bool, equal);
    QCOMPARE(left == right, equal);
    QCOMPARE(right == left, equal);
    if (equal) {
        QCOMPARE(qHash(left), qHash(right));
        QCOMPARE(qHash(left, 42), qHash(right, 42));
    } else {
        QVERIFY(qHash(left, 42) != qHash(right, 42));
    }
}

void TextTest::thePoolStoresEqualTextsOnce() {
    TextPool<Text> pool;
    int made = 0;
    const auto make = [&made](std::string_view key) {
        ++made;
        return Text::fromUtf8(key);
    };
    const std::string first = "Cafe";
    const std::string second = "Cafe";
    const Text one = pool.value(first, make);
    const Text other = pool.value(second, make);
    QCOMPARE(made, 1);
    QVERIFY(one.utf8().data() == other.utf8().data());
    QCOMPARE(*pool.value("", make), QString());
    QCOMPARE(made, 2);
}

void TextTest::thePoolKeepsEveryOfManyTexts() {
    constexpr int count = 10'000;
    std::vector<std::string> keys;
    for (int i = 0; i < count; ++i) {
        keys.push_back(std::to_string(i));
    }
    TextPool<QString> pool;
    int made = 0;
    const auto make = [&made](std::string_view key) {
        ++made;
        return QString::fromLatin1(key.data(), static_cast<qsizetype>(key.size()));
    };
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < count; ++i) {
            QCOMPARE(pool.value(keys[static_cast<std::size_t>(i)], make), QString::number(i));
        }
    }
    QCOMPARE(made, count);
}

QUILLO_TEST(TextTest, QCoreApplication)
#include "TextTest.moc"
