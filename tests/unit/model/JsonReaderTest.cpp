#include "model/JsonReader.h"

#include "DecodingFailure.h"
#include "support/TestMain.h"

#include <QTest>

#include <limits>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using test::decodingFailure;

class JsonReaderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void bodiesThatAreNoJsonAreRefusedWhole_data();
    void bodiesThatAreNoJsonAreRefusedWhole();
    void deepNestingIsRefusedWithoutACrash_data();
    void deepNestingIsRefusedWithoutACrash();
    void nestingWithinTheLimitIsRead();
    void aByteOrderMarkIsSkipped();
    void theBodyOfTheCallerIsLeftAlone();
    void aBodyThatTheCallerOnlyLendsIsRead();
    void aRootThatIsNoObjectIsRefused_data();
    void aRootThatIsNoObjectIsRefused();
    void membersAreMatchedExactlyAndInAnyOrder();
    void ofARepeatedMemberTheLastCounts();
    void missingAndNullAreAbsentOnlyForOptionalMembers();
    void aWrongTypeIsRefusedAlsoForAnOptionalMember_data();
    void aWrongTypeIsRefusedAlsoForAnOptionalMember();
    void wholeNumbersAreIntegersHoweverWritten_data();
    void wholeNumbersAreIntegersHoweverWritten();
    void numbersThatAreNoIntegerAreRefused_data();
    void numbersThatAreNoIntegerAreRefused();
    void numbersAreReadToTheNearestDouble_data();
    void numbersAreReadToTheNearestDouble();
    void numbersBeyondTheDoublesAreRefusedWhereTheyAreRead_data();
    void numbersBeyondTheDoublesAreRefusedWhereTheyAreRead();
    void aNumberOfAnyLengthIsOfNoInterestWhereItIsIgnored_data();
    void aNumberOfAnyLengthIsOfNoInterestWhereItIsIgnored();
    void anIntegerBesideANumberOfAnyLengthStaysOne_data();
    void anIntegerBesideANumberOfAnyLengthStaysOne();
    void aNumberBeyondTheDoublesIsNoObjectWithoutMembers_data();
    void aNumberBeyondTheDoublesIsNoObjectWithoutMembers();
    void textsAreUnescaped_data();
    void textsAreUnescaped();
    void theErrorNamesThePathThroughListsAndObjects();
    void theErrorQuotesNoValue();
};

namespace {

using Token = JsonMembers<"access_token", "refresh_token", "expires_in">;
using Value = JsonMembers<"v">;

[[nodiscard]] QByteArray bodyOf(const QByteArray& value) {
    return "{\"v\":" + value + "}";
}

} // namespace

void JsonReaderTest::bodiesThatAreNoJsonAreRefusedWhole_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("failure");
    const QString syntax = u"body: not valid JSON"_s;
    const QString number = u"body: not valid JSON (a number is malformed or out of range)"_s;
    const QString text = u"body: not valid JSON (a text is malformed)"_s;
    const QString noEnd = u"body: not valid JSON (a text has no end)"_s;
    const QString word = u"body: not valid JSON (an unknown word)"_s;
    const QString encoding = u"body: not UTF-8"_s;
    const QString empty = u"body: empty"_s;
    QTest::newRow("no body") << QByteArray() << empty;
    QTest::newRow("empty body") << QByteArray("") << empty;
    QTest::newRow("blank body") << QByteArray(" \r\n\t") << empty;
    QTest::newRow("only a byte-order mark") << QByteArray("\xEF\xBB\xBF") << empty;
    QTest::newRow("half a byte-order mark") << QByteArray("\xEF\xBB{}") << encoding;
    QTest::newRow("two byte-order marks") << QByteArray("\xEF\xBB\xBF\xEF\xBB\xBF{}") << syntax;
    QTest::newRow("a page of HTML") << QByteArray("<!DOCTYPE html><p>Hello") << syntax;
    QTest::newRow("cut short") << QByteArray("{\"v\":1") << syntax;
    QTest::newRow("arrays without an end") << QByteArray(100'000, '[') << syntax;
    QTest::newRow("cut short within a text") << QByteArray("{\"v\":\"abc") << noEnd;
    QTest::newRow("trailing text") << QByteArray("{\"v\":1} x") << syntax;
    QTest::newRow("second document") << QByteArray("{\"v\":1}{\"v\":2}") << syntax;
    QTest::newRow("trailing zero byte") << QByteArray("{\"v\":1}\0", 8) << syntax;
    QTest::newRow("trailing comma") << QByteArray("{\"v\":1,}") << syntax;
    QTest::newRow("comment") << QByteArray("{\"v\":1/* one */}") << number;
    QTest::newRow("single quotes") << QByteArray("{'v':1}") << syntax;
    QTest::newRow("bad UTF-8") << bodyOf("\"\xC3(\"") << encoding;
    QTest::newRow("overlong UTF-8") << bodyOf("\"\xC0\x80\"") << encoding;
    QTest::newRow("surrogate in UTF-8") << bodyOf("\"\xED\xA0\x80\"") << encoding;
    QTest::newRow("UTF-8 cut short") << bodyOf("\"\xE2\x82\"") << encoding;
    QTest::newRow("bad UTF-8 in a member that nobody reads")
        << QByteArray("{\"v\":1,\"w\":\"\xFF\"}") << encoding;
    QTest::newRow("UTF-16") << QByteArray("\xFF\xFE{\0}\0", 6) << encoding;
    QTest::newRow("lone high surrogate") << bodyOf(R"("\ud83c")") << text;
    QTest::newRow("lone low surrogate") << bodyOf(R"("\udf55")") << text;
    QTest::newRow("surrogates the wrong way round") << bodyOf(R"("\udf55\ud83c")") << text;
    QTest::newRow("unknown escape") << bodyOf(R"("\x41")") << text;
    QTest::newRow("line break within a text") << bodyOf("\"a\nb\"") << text;
    QTest::newRow("not a number") << bodyOf("NaN") << syntax;
    QTest::newRow("infinity") << bodyOf("Infinity") << syntax;
    QTest::newRow("leading zero") << bodyOf("01") << number;
    QTest::newRow("leading zero of a long integer") << bodyOf("0" + QByteArray(30, '1')) << number;
    QTest::newRow("leading zero beyond the doubles") << bodyOf("01e400") << number;
    QTest::newRow("no digits after the point, beyond the doubles") << bodyOf("1.e400") << number;
    QTest::newRow("long integer with letters behind it") << bodyOf(QByteArray(30, '1') + "x") << number;
    QTest::newRow("long integer with a minus behind it") << bodyOf(QByteArray(30, '1') + "-") << number;
    QTest::newRow("long integer in a text without an end") << "{\"v\":\"" + QByteArray(30, '1') << noEnd;
    QTest::newRow("cut short behind a long integer") << "{\"v\":" + QByteArray(30, '1') << syntax;
    QTest::newRow("leading plus") << bodyOf("+1") << syntax;
    QTest::newRow("number without digits after the point") << bodyOf("1.") << number;
    QTest::newRow("hexadecimal number") << bodyOf("0x1F") << number;
    QTest::newRow("word that starts like true") << bodyOf("tru") << word;
    QTest::newRow("word in capitals") << bodyOf("True") << syntax;
}

void JsonReaderTest::bodiesThatAreNoJsonAreRefusedWhole() {
    QFETCH(QByteArray, body);
    QFETCH(QString, failure);
    QCOMPARE(decodingFailure([&] { return JsonDocument(body).root().isNull(); }), failure);
}

void JsonReaderTest::deepNestingIsRefusedWithoutACrash_data() {
    QTest::addColumn<QByteArray>("body");
    constexpr qsizetype levels = 100'000;
    QTest::newRow("arrays") << QByteArray(levels, '[') + QByteArray(levels, ']');
    QTest::newRow("objects") << QByteArray("{\"a\":").repeated(levels) + '1' + QByteArray(levels, '}');
    QTest::newRow("in a member that nobody reads")
        << QByteArray("{\"w\":") + QByteArray(levels, '[') + QByteArray(levels, ']') + ",\"v\":1}";
}

void JsonReaderTest::deepNestingIsRefusedWithoutACrash() {
    QFETCH(QByteArray, body);
    QCOMPARE(decodingFailure([&] { return JsonDocument(body).root().isNull(); }),
             u"body: nested too deeply"_s);
}

void JsonReaderTest::nestingWithinTheLimitIsRead() {
    constexpr qsizetype levels = 1000;
    const JsonDocument document("{\"w\":" + QByteArray(levels, '[') + QByteArray(levels, ']') + ",\"v\":1}");
    QCOMPARE((Value(document.root()).required<"v", std::int64_t>()), 1);
}

void JsonReaderTest::aByteOrderMarkIsSkipped() {
    const JsonDocument document("\xEF\xBB\xBF" + bodyOf("\"\xEF\xBB\xBF\""));
    QCOMPARE((Value(document.root()).required<"v", QString>()),
             QString(QChar(0xFEFF))); // within a text it is a character
}

void JsonReaderTest::theBodyOfTheCallerIsLeftAlone() {
    const QByteArray body = bodyOf("\"a\\nb\"");
    const QByteArray before(body.constData(), body.size());
    const JsonDocument document(body);
    QCOMPARE((Value(document.root()).required<"v", QString>()), u"a\nb"_s);
    QCOMPARE(body, before);
}

void JsonReaderTest::aBodyThatTheCallerOnlyLendsIsRead() {
    // Bytes right up to the end of their allocation: the address sanitizer sees anything that reads further.
    const std::vector<char> bytes{'{', '"', 'v', '"', ':', '1', '}'};
    const JsonDocument document(QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size())));
    QCOMPARE((Value(document.root()).required<"v", std::int64_t>()), 1);
}

void JsonReaderTest::aRootThatIsNoObjectIsRefused_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("found");
    QTest::newRow("array") << QByteArray("[1]") << u"an array"_s;
    QTest::newRow("text") << QByteArray("\"secret\"") << u"text"_s;
    QTest::newRow("number") << QByteArray("1.5") << u"a number"_s;
    QTest::newRow("boolean") << QByteArray("true") << u"a boolean"_s;
    QTest::newRow("null") << QByteArray("null") << u"null"_s;
}

void JsonReaderTest::aRootThatIsNoObjectIsRefused() {
    QFETCH(QByteArray, body);
    QFETCH(QString, found);
    const JsonDocument document(body);
    QCOMPARE(decodingFailure([&] { return Value(document.root()).optional<"v", QString>(); }),
             u"body: expected an object, found "_s + found);
}

void JsonReaderTest::membersAreMatchedExactlyAndInAnyOrder() {
    const JsonDocument document(QByteArray(
        R"({"Access_Token":1,"expires_in":2.5,"x":{"access_token":3},"accessToken":4,"access_token":"a",)"
        R"("access_token ":5,"refresh\u005ftoken":"r","":6})"));
    const Token token(document.root());
    QCOMPARE((token.required<"access_token", QString>()), u"a"_s);
    QCOMPARE((token.optional<"refresh_token", QString>()), std::optional(u"r"_s));
    QCOMPARE((token.required<"expires_in", double>()), 2.5);
}

void JsonReaderTest::ofARepeatedMemberTheLastCounts() {
    const JsonDocument document(
        QByteArray(R"({"access_token":1,"access_token":"first","expires_in":true,"access_token":"last",)"
                   R"("refresh_token":"x","refresh_token":null,"expires_in":3})"));
    const Token token(document.root());
    QCOMPARE((token.required<"access_token", QString>()), u"last"_s);
    QCOMPARE((token.optional<"refresh_token", QString>()), std::nullopt);
    QCOMPARE((token.required<"expires_in", std::int64_t>()), 3);
}

void JsonReaderTest::missingAndNullAreAbsentOnlyForOptionalMembers() {
    const JsonDocument document(QByteArray(R"({"access_token":null})"));
    const Token token(document.root());
    QCOMPARE((token.optional<"access_token", QString>()), std::nullopt);
    QCOMPARE((token.optional<"refresh_token", QString>()), std::nullopt);
    QVERIFY((!token.optional<"access_token", JsonValue>()));
    QVERIFY((!token.optional<"refresh_token", JsonValue>()));
    QCOMPARE(decodingFailure([&] { return token.required<"access_token", QString>(); }),
             u"access_token: expected text, found null"_s);
    QCOMPARE(decodingFailure([&] { return token.required<"expires_in", double>(); }),
             u"expires_in: missing"_s);
    QVERIFY((token.required<"access_token", JsonValue>().isNull()));
}

void JsonReaderTest::aWrongTypeIsRefusedAlsoForAnOptionalMember_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("found");
    QTest::newRow("text") << QByteArray("\"1\"") << u"text"_s;
    QTest::newRow("number") << QByteArray("1.5") << u"a number"_s;
    QTest::newRow("integer") << QByteArray("1") << u"a number"_s;
    QTest::newRow("large integer") << QByteArray("18446744073709551615") << u"a number"_s;
    QTest::newRow("boolean") << QByteArray("false") << u"a boolean"_s;
    QTest::newRow("object") << QByteArray("{}") << u"an object"_s;
    QTest::newRow("array") << QByteArray("[]") << u"an array"_s;
}

void JsonReaderTest::aWrongTypeIsRefusedAlsoForAnOptionalMember() {
    QFETCH(QByteArray, json);
    QFETCH(QString, found);
    const JsonDocument document(bodyOf(json));
    const Value value(document.root());
    const auto check = [&](const QString& expected, const auto& decode) {
        const bool right = expected.endsWith(found.split(u' ').last());
        QCOMPARE(decodingFailure(decode),
                 right ? u"decoded"_s : u"v: expected %1, found %2"_s.arg(expected, found));
    };
    check(u"text"_s, [&] { return value.required<"v", QString>(); });
    check(u"text"_s, [&] { return value.optional<"v", QString>(); });
    check(u"text"_s, [&] { return value.required<"v", std::string_view>(); });
    check(u"text"_s, [&] { return value.optional<"v", std::string_view>(); });
    check(u"a number"_s, [&] { return value.required<"v", double>(); });
    check(u"a number"_s, [&] { return value.optional<"v", double>(); });
    check(u"a boolean"_s, [&] { return value.required<"v", bool>(); });
    check(u"a boolean"_s, [&] { return value.optional<"v", bool>(); });
    check(u"an object"_s, [&] { return Value(value.required<"v", JsonValue>()).optional<"v", QString>(); });
    check(u"an array"_s,
          [&] { return value.list<"v">([](const JsonValue& each) { return each.as<double>(); }); });
    if (found != u"a number"_s) {
        check(u"an integer"_s, [&] { return value.required<"v", std::int64_t>(); });
        check(u"an integer"_s, [&] { return value.optional<"v", std::int64_t>(); });
    }
}

void JsonReaderTest::wholeNumbersAreIntegersHoweverWritten_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<qint64>("integer");
    QTest::newRow("zero") << QByteArray("0") << qint64{0};
    QTest::newRow("negative zero") << QByteArray("-0") << qint64{0};
    QTest::newRow("negative zero with a point") << QByteArray("-0.0") << qint64{0};
    QTest::newRow("one") << QByteArray("1") << qint64{1};
    QTest::newRow("with a point") << QByteArray("1.0") << qint64{1};
    QTest::newRow("with an exponent") << QByteArray("1e0") << qint64{1};
    QTest::newRow("with a negative exponent") << QByteArray("1200e-2") << qint64{12};
    QTest::newRow("point and exponent") << QByteArray("-1.25E+2") << qint64{-125};
    QTest::newRow("largest") << QByteArray("9223372036854775807") << std::numeric_limits<qint64>::max();
    QTest::newRow("smallest") << QByteArray("-9223372036854775808") << std::numeric_limits<qint64>::min();
    QTest::newRow("smallest with a point")
        << QByteArray("-9223372036854775808.0") << std::numeric_limits<qint64>::min();
    QTest::newRow("beyond the doubles' own precision")
        << QByteArray("9007199254740993") << qint64{9007199254740993};
}

void JsonReaderTest::wholeNumbersAreIntegersHoweverWritten() {
    QFETCH(QByteArray, json);
    QFETCH(qint64, integer);
    const JsonDocument document(bodyOf(json));
    const Value value(document.root());
    QCOMPARE((value.required<"v", std::int64_t>()), integer);
    QCOMPARE((value.optional<"v", std::int64_t>()), std::optional<std::int64_t>(integer));
}

void JsonReaderTest::numbersThatAreNoIntegerAreRefused_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("found");
    const QString fraction = u"a number with a fraction"_s;
    const QString range = u"a number out of range"_s;
    QTest::newRow("half") << QByteArray("0.5") << fraction;
    QTest::newRow("nearly one") << QByteArray("0.9999999999999999") << fraction;
    QTest::newRow("fraction by exponent") << QByteArray("15e-1") << fraction;
    QTest::newRow("tiny") << QByteArray("5e-324") << fraction;
    QTest::newRow("two to the 63rd") << QByteArray("9223372036854775808") << range;
    QTest::newRow("two to the 63rd with a point") << QByteArray("9223372036854775808.0") << range;
    QTest::newRow("rounds to two to the 63rd") << QByteArray("9223372036854775807.0") << range;
    QTest::newRow("two to the 64th less one") << QByteArray("18446744073709551615") << range;
    QTest::newRow("two to the 64th with an exponent") << QByteArray("1.8446744073709552e19") << range;
    QTest::newRow("below the smallest") << QByteArray("-9223372036854777856.0") << range;
    QTest::newRow("far beyond") << QByteArray("1e300") << range;
    QTest::newRow("thirty digits") << QByteArray("123456789012345678901234567890") << range;
    QTest::newRow("thirty digits below") << QByteArray("-123456789012345678901234567890") << range;
    QTest::newRow("two to the 64th") << QByteArray("18446744073709551616") << range;
    QTest::newRow("beyond the doubles") << QByteArray("1e400") << range;
    QTest::newRow("500 digits") << QByteArray(500, '9') << range;
}

void JsonReaderTest::numbersThatAreNoIntegerAreRefused() {
    QFETCH(QByteArray, json);
    QFETCH(QString, found);
    const JsonDocument document(bodyOf(json));
    const Value value(document.root());
    const QString failure = u"v: expected an integer, found "_s + found;
    QCOMPARE(decodingFailure([&] { return value.required<"v", std::int64_t>(); }), failure);
    QCOMPARE(decodingFailure([&] { return value.optional<"v", std::int64_t>(); }), failure);
}

void JsonReaderTest::numbersAreReadToTheNearestDouble_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<double>("number");
    QTest::newRow("integer") << QByteArray("42") << 42.0;
    QTest::newRow("negative integer") << QByteArray("-42") << -42.0;
    QTest::newRow("fraction") << QByteArray("19.99") << 19.99;
    QTest::newRow("exponent") << QByteArray("1.5e3") << 1500.0;
    QTest::newRow("two to the 64th less one") << QByteArray("18446744073709551615") << 18446744073709551616.0;
    QTest::newRow("more digits than a double has")
        << QByteArray("0.1000000000000000055511151231257827") << 0.1;
    QTest::newRow("largest") << QByteArray("1.7976931348623157e308") << std::numeric_limits<double>::max();
    QTest::newRow("smallest") << QByteArray("5e-324") << std::numeric_limits<double>::denorm_min();
    QTest::newRow("vanishing") << QByteArray("1e-400") << 0.0;
    QTest::newRow("two to the 64th") << QByteArray("18446744073709551616") << 18446744073709551616.0;
    QTest::newRow("below 64 bits by one") << QByteArray("-9223372036854775809") << -9223372036854775808.0;
    QTest::newRow("thirty digits") << QByteArray("123456789012345678901234567890")
                                   << 123456789012345678901234567890.0;
    QTest::newRow("negative, thirty digits")
        << QByteArray("-123456789012345678901234567890") << -123456789012345678901234567890.0;
    QTest::newRow("last digit decides")
        << QByteArray("9007199254740993000000000000000000000000000001") << 9007199254740994e30;
    QTest::newRow("300 digits") << "1" + QByteArray(299, '0') << 1e299;
    QTest::newRow("long fraction") << "0." + QByteArray(1000, '3') << 1.0 / 3;
}

void JsonReaderTest::numbersAreReadToTheNearestDouble() {
    QFETCH(QByteArray, json);
    QFETCH(double, number);
    const JsonDocument document(bodyOf(json));
    const Value value(document.root());
    QVERIFY((value.required<"v", double>() == number));
    QVERIFY((value.optional<"v", double>() == number));
}

void JsonReaderTest::numbersBeyondTheDoublesAreRefusedWhereTheyAreRead_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("exponent") << QByteArray("1e400");
    QTest::newRow("negative") << QByteArray("-1.5E+400");
    QTest::newRow("digits") << QByteArray(400, '9');
    QTest::newRow("rounds up beyond the largest") << QByteArray("1.7976931348623159e308");
}

void JsonReaderTest::numbersBeyondTheDoublesAreRefusedWhereTheyAreRead() {
    QFETCH(QByteArray, json);
    const JsonDocument document(bodyOf("[" + json + "]"));
    const Value value(document.root());
    const auto expectRefusal = [&](const QString& expected, const auto& read) {
        QCOMPARE(decodingFailure([&] { return value.list<"v">(read); }),
                 u"v[0]: expected %1, found a number out of range"_s.arg(expected));
    };
    expectRefusal(u"a number"_s, [](const JsonValue& each) { return each.as<double>(); });
    expectRefusal(u"text"_s, [](const JsonValue& each) { return each.as<QString>(); });
    expectRefusal(u"a boolean"_s, [](const JsonValue& each) { return each.as<bool>(); });
}

void JsonReaderTest::aNumberOfAnyLengthIsOfNoInterestWhereItIsIgnored_data() {
    QTest::addColumn<QByteArray>("body");
    const QByteArray digits(30, '1');
    QTest::newRow("before") << "{\"w\":" + digits + ",\"v\":7}";
    QTest::newRow("behind, with blanks") << "{\"v\":7, \"w\" : -" + digits + " }";
    QTest::newRow("in a list") << "{\"w\":[1," + digits + ",[" + digits + "]],\"v\":7}";
    QTest::newRow("beyond the doubles") << QByteArray("{\"w\":1e999,\"v\":7}");
    QTest::newRow("beside texts with digits and quotes")
        << "{\"\\\"" + digits + R"(\\":"1\"2\\","v":7,"w":)" + digits + "}";
    QTest::newRow("behind a byte-order mark") << "\xEF\xBB\xBF{\"w\":" + digits + ",\"v\":7}";
    QTest::newRow("ten thousand digits") << "{\"w\":" + QByteArray(10'000, '1') + ",\"v\":7}";
}

void JsonReaderTest::aNumberOfAnyLengthIsOfNoInterestWhereItIsIgnored() {
    QFETCH(QByteArray, body);
    const JsonDocument document(body);
    QCOMPARE((Value(document.root()).required<"v", std::int64_t>()), 7);
}

void JsonReaderTest::anIntegerBesideANumberOfAnyLengthStaysOne_data() {
    QTest::addColumn<QByteArray>("other");
    QTest::newRow("past 64 bits") << QByteArray(30, '1');
    QTest::newRow("beyond the doubles") << QByteArray("1e400");
    QTest::newRow("two to the 64th") << QByteArray("18446744073709551616");
}

void JsonReaderTest::anIntegerBesideANumberOfAnyLengthStaysOne() {
    QFETCH(QByteArray, other);
    for (const auto integer : {std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::max() - 1,
                               std::numeric_limits<qint64>::min(), qint64{1'234'567'890'123'456'789}}) {
        const JsonDocument document("{\"w\":" + other + ",\"v\":" + QByteArray::number(integer) + "}");
        QCOMPARE((Value(document.root()).required<"v", std::int64_t>()), integer);
    }
}

void JsonReaderTest::aNumberBeyondTheDoublesIsNoObjectWithoutMembers_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("place");
    QTest::newRow("as the body") << QByteArray("1e400") << u"body"_s;
    QTest::newRow("in a list") << QByteArray("[1e400]") << u"body[0]"_s;
}

void JsonReaderTest::aNumberBeyondTheDoublesIsNoObjectWithoutMembers() {
    QFETCH(QByteArray, body);
    QFETCH(QString, place);
    const JsonDocument document(body);
    const auto read = [](const JsonValue& value) { return Value(value).required<"v", double>(); };
    QCOMPARE(decodingFailure([&] {
                 return body.startsWith('[') ? document.root().list(read).front() : read(document.root());
             }),
             place + u": expected an object, found a number out of range"_s);
}

void JsonReaderTest::textsAreUnescaped_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QByteArray(R"("")") << u""_s;
    QTest::newRow("short escapes") << QByteArray(R"("\"\\\/\b\f\n\r\t")") << u"\"\\/\b\f\n\r\t"_s;
    QTest::newRow("code point") << QByteArray(R"("Caf\u00e9")") << u"Café"_s;
    QTest::newRow("surrogates") << QByteArray(R"("\ud83c\udf55")") << u"🍕"_s;
    QTest::newRow("zero") << QByteArray(R"("a\u0000b")") << QString(u"a\0b"_s);
    QTest::newRow("UTF-8") << QByteArray("\"\u5bff\u53f8 \xF0\x9F\x8D\x95\"") << u"寿司 🍕"_s;
}

void JsonReaderTest::textsAreUnescaped() {
    QFETCH(QByteArray, json);
    QFETCH(QString, text);
    const JsonDocument document(bodyOf(json));
    QCOMPARE((Value(document.root()).required<"v", QString>()), text);
}

void JsonReaderTest::theErrorNamesThePathThroughListsAndObjects() {
    const JsonDocument document(QByteArray(R"({"v":[{"v":[]},{"v":[[],[1,2,{"v":{"v":true}}]]}]})"));
    const Value root(document.root());
    const auto innermost = [](const JsonValue& value) {
        const Value outer(value);
        const auto inner = outer.optional<"v", JsonValue>();
        return Value(*inner).required<"v", double>();
    };
    const auto numberOrObject = [&](const JsonValue& value) {
        return value.path().index < 2 ? value.as<double>() : innermost(value);
    };
    const auto lists = [&](const JsonValue& value) { return value.list(numberOrObject); };
    const auto objects = [&](const JsonValue& value) { return Value(value).list<"v">(lists); };
    QCOMPARE(decodingFailure([&] { return root.list<"v">(objects); }),
             u"v[1].v[1][2].v.v: expected a number, found a boolean"_s);

    const JsonDocument list(QByteArray("[[1],[null]]"));
    const auto number = [](const JsonValue& value) { return value.as<double>(); };
    QCOMPARE(decodingFailure([&] {
                 return list.root().list([&](const JsonValue& value) { return value.list(number); });
             }),
             u"body[1][0]: expected a number, found null"_s);
}

void JsonReaderTest::theErrorQuotesNoValue() {
    for (const QByteArray& body :
         {bodyOf("\"hunter2\""), bodyOf("[\"hunter2\"]"), bodyOf("hunter2"), QByteArray("hunter2"),
          QByteArray("{\"hunter2\":1}"), bodyOf("{\"hunter2\":1}"), QByteArray("{\"v\":1}hunter2")}) {
        const QString failure =
            decodingFailure([&] { return Value(JsonDocument(body).root()).required<"v", std::int64_t>(); });
        QVERIFY(failure != u"decoded"_s);
        QVERIFY2(!failure.contains(u"hunter2"_s), qPrintable(failure));
    }
}

QUILLO_TEST(JsonReaderTest, QCoreApplication)
#include "JsonReaderTest.moc"
