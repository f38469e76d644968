#include "model/Decoding.h"

#include "DecodingFailure.h"
#include "support/TestMain.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QTest>

#include <clocale>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using test::decodingFailure;

namespace {

[[nodiscard]] QJsonObject ledger(const QJsonArray& lines = {}) {
    return {{u"total_owed"_s, 1234.56}, {u"pending_holds"_s, 20},  {u"total_with_pending"_s, 1254.56},
            {u"credit_limit"_s, 5000},  {u"available"_s, 3745.44}, {u"as_of"_s, u"2024-05-01T08:00:00Z"_s},
            {u"transactions"_s, lines}};
}

[[nodiscard]] QJsonObject line() {
    return {{u"date"_s, u"2024-05-01"_s}, {u"amount"_s, 12.5}, {u"running_balance"_s, 100}};
}

[[nodiscard]] QJsonObject with(QJsonObject object, const QString& key, const QJsonValue& value) {
    object.insert(key, value);
    return object;
}

[[nodiscard]] QJsonObject without(QJsonObject object, const QString& key) {
    object.remove(key);
    return object;
}

[[nodiscard]] QByteArray bodyOf(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

/// A ledger of just this line.
[[nodiscard]] QByteArray bodyOfLine(const QJsonObject& object) {
    return bodyOf(ledger({object}));
}

[[nodiscard]] Transaction decodedLine(const QJsonObject& object) {
    return std::move(decodeTimeline(bodyOfLine(object)).transactions.front());
}

} // namespace

class TimelineDecodingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void aLedgerWithoutLinesDecodes();
    void aLineWithEveryMemberDecodes();
    void aLineWithoutOptionalMembersDecodes_data();
    void aLineWithoutOptionalMembersDecodes();
    void anIntegerIsAnAmount();
    void linesKeepTheirOrder();
    void datesAreNotParsed();
    void fetchedAtIsNeverReadFromTheBody();
    void furtherMembersArePassedOver();
    void aMissingMemberOfTheLedgerIsNamed_data();
    void aMissingMemberOfTheLedgerIsNamed();
    void aWrongMemberOfTheLedgerIsNamed_data();
    void aWrongMemberOfTheLedgerIsNamed();
    void aMissingMemberOfALineIsNamed_data();
    void aMissingMemberOfALineIsNamed();
    void aWrongMemberOfALineIsNamed_data();
    void aWrongMemberOfALineIsNamed();
    void oneBadLineFailsTheWholeLedger();
    void theFirstWrongMemberInTheRecordsOrderIsNamed();
    void pendingIsAFlagThatIsANumber_data();
    void pendingIsAFlagThatIsANumber();
    void syntheticFalseAndAbsentDiffer();
    void ofARepeatedMemberTheLastCounts();
    void aByteOrderMarkIsSkipped();
    void anEmptyBodyIsRefused();
    void decodingFollowsNoLocale();
    void textsThatRepeatAreStoredOnce();
    void decodedTextsOutliveTheBody();
};

void TimelineDecodingTest::aLedgerWithoutLinesDecodes() {
    const Timeline timeline = decodeTimeline(bodyOf(ledger()));
    QCOMPARE(timeline.totalOwed, 1234.56);
    QCOMPARE(timeline.pendingHolds, 20.0);
    QCOMPARE(timeline.totalWithPending, 1254.56);
    QCOMPARE(timeline.creditLimit, 5000.0);
    QCOMPARE(timeline.available, 3745.44);
    QCOMPARE(timeline.asOf, u"2024-05-01T08:00:00Z"_s);
    QVERIFY(timeline.transactions.empty());
    QVERIFY(!timeline.fetchedAt);
}

void TimelineDecodingTest::aLineWithEveryMemberDecodes() {
    const Transaction decoded = decodedLine({{u"txn_id"_s, u"t1"_s},
                                             {u"date"_s, u"2024-05-01"_s},
                                             {u"amount"_s, -19.99},
                                             {u"merchant"_s, u"寿司"_s},
                                             {u"name"_s, u"SUSHI 12"_s},
                                             {u"pending"_s, 1},
                                             {u"running_balance"_s, 119.99},
                                             {u"synthetic"_s, true},
                                             {u"account_mask"_s, u"1234"_s},
                                             {u"note"_s, u"lunch"_s}});
    const Transaction expected{u"t1"_s, u"2024-05-01"_s, -19.99, u"寿司"_s, u"SUSHI 12"_s,
                               1,       119.99,          true,   u"1234"_s, u"lunch"_s};
    QVERIFY(decoded == expected);
}

void TimelineDecodingTest::aLineWithoutOptionalMembersDecodes_data() {
    QTest::addColumn<bool>("asNull");
    QTest::newRow("no key") << false;
    QTest::newRow("null") << true;
}

void TimelineDecodingTest::aLineWithoutOptionalMembersDecodes() {
    QFETCH(bool, asNull);
    QJsonObject object = line();
    if (asNull) {
        for (const QString& key : {u"txn_id"_s, u"merchant"_s, u"name"_s, u"pending"_s, u"synthetic"_s,
                                   u"account_mask"_s, u"note"_s}) {
            object.insert(key, QJsonValue::Null);
        }
    }
    const Transaction expected{.date = u"2024-05-01"_s, .amount = 12.5, .runningBalance = 100};
    QVERIFY(decodedLine(object) == expected);
}

void TimelineDecodingTest::anIntegerIsAnAmount() {
    const Timeline timeline = decodeTimeline(
        R"({"total_owed":1,"pending_holds":-2,"total_with_pending":3,"credit_limit":18446744073709551615,)"
        R"("available":0,"as_of":"","transactions":[{"date":"","amount":-5,"running_balance":7}]})");
    QCOMPARE(timeline.totalOwed, 1.0);
    QCOMPARE(timeline.pendingHolds, -2.0);
    QCOMPARE(timeline.creditLimit, 18446744073709551616.0);
    QCOMPARE(timeline.transactions.front().amount, -5.0);
    QCOMPARE(timeline.transactions.front().runningBalance, 7.0);
}

void TimelineDecodingTest::linesKeepTheirOrder() {
    QJsonArray lines;
    constexpr int count = 1000;
    for (int i = 0; i < count; ++i) {
        lines.append(with(line(), u"amount"_s, (i * 7919) % count));
    }
    const Timeline timeline = decodeTimeline(bodyOf(ledger(lines)));
    QCOMPARE(timeline.transactions.size(), std::size_t{count});
    for (int i = 0; i < count; ++i) {
        QCOMPARE(timeline.transactions[static_cast<std::size_t>(i)].amount, double((i * 7919) % count));
    }
}

void TimelineDecodingTest::datesAreNotParsed() {
    const QString noDate = u" 31 février, 25:61 "_s;
    QCOMPARE(decodeTimeline(bodyOf(with(ledger(), u"as_of"_s, noDate))).asOf, noDate);
    QCOMPARE(decodedLine(with(line(), u"date"_s, noDate)).date, noDate);
    QCOMPARE(decodedLine(with(line(), u"date"_s, u""_s)).date, u""_s);
}

void TimelineDecodingTest::fetchedAtIsNeverReadFromTheBody() {
    QJsonObject object = with(ledger(), u"fetchedAt"_s, u"2024-05-01T08:00:00Z"_s);
    object = with(object, u"fetched_at"_s, u"2024-05-01T08:00:00Z"_s);
    QVERIFY(!decodeTimeline(bodyOf(object)).fetchedAt);
}

void TimelineDecodingTest::furtherMembersArePassedOver() {
    const QJsonObject odd{{u"total_owed"_s, u"no number"_s},
                          {u"list"_s, QJsonArray{1, u"a"_s, QJsonValue::Null}}};
    QJsonObject object = with(ledger({with(line(), u"extra"_s, odd)}), u"extra"_s, odd);
    object = with(object, u"totalOwed"_s, u"camel"_s);
    const Timeline timeline = decodeTimeline(bodyOf(object));
    QCOMPARE(timeline.totalOwed, 1234.56);
    QCOMPARE(timeline.transactions.size(), std::size_t{1});
}

void TimelineDecodingTest::aMissingMemberOfTheLedgerIsNamed_data() {
    QTest::addColumn<QString>("key");
    const QJsonObject object = ledger();
    for (const QString& key : object.keys()) {
        QTest::newRow(qUtf8Printable(key)) << key;
    }
}

void TimelineDecodingTest::aMissingMemberOfTheLedgerIsNamed() {
    QFETCH(QString, key);
    const QByteArray missing = bodyOf(without(ledger(), key));
    QCOMPARE(decodingFailure([&] { return decodeTimeline(missing); }), key + u": missing"_s);
    const QByteArray null = bodyOf(with(ledger(), key, QJsonValue::Null));
    const QString failure = decodingFailure([&] { return decodeTimeline(null); });
    QVERIFY2(failure.startsWith(key + u": expected "_s) && failure.endsWith(u", found null"_s),
             qPrintable(failure));
}

void TimelineDecodingTest::aWrongMemberOfTheLedgerIsNamed_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QString>("failure");
    const QJsonValue text = u"secret"_s;
    for (const QString& key :
         {u"total_owed"_s, u"pending_holds"_s, u"total_with_pending"_s, u"credit_limit"_s, u"available"_s}) {
        QTest::newRow(qUtf8Printable(key)) << key << text << key + u": expected a number, found text"_s;
    }
    QTest::newRow("as_of") << u"as_of"_s << QJsonValue(12) << u"as_of: expected text, found a number"_s;
    QTest::newRow("transactions") << u"transactions"_s << QJsonValue(QJsonObject())
                                  << u"transactions: expected an array, found an object"_s;
    QTest::newRow("element") << u"transactions"_s << QJsonValue(QJsonArray{line(), 5})
                             << u"transactions[1]: expected an object, found a number"_s;
    QTest::newRow("null element") << u"transactions"_s << QJsonValue(QJsonArray{QJsonValue::Null})
                                  << u"transactions[0]: expected an object, found null"_s;
}

void TimelineDecodingTest::aWrongMemberOfTheLedgerIsNamed() {
    QFETCH(QString, key);
    QFETCH(QJsonValue, value);
    QFETCH(QString, failure);
    const QByteArray body = bodyOf(with(ledger(), key, value));
    QCOMPARE(decodingFailure([&] { return decodeTimeline(body); }), failure);
}

void TimelineDecodingTest::aMissingMemberOfALineIsNamed_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("type");
    QTest::newRow("date") << u"date"_s << u"text"_s;
    QTest::newRow("amount") << u"amount"_s << u"a number"_s;
    QTest::newRow("running_balance") << u"running_balance"_s << u"a number"_s;
}

void TimelineDecodingTest::aMissingMemberOfALineIsNamed() {
    QFETCH(QString, key);
    QFETCH(QString, type);
    QCOMPARE(decodingFailure([&] { return decodedLine(without(line(), key)); }),
             u"transactions[0].%1: missing"_s.arg(key));
    QCOMPARE(decodingFailure([&] { return decodedLine(with(line(), key, QJsonValue::Null)); }),
             u"transactions[0].%1: expected %2, found null"_s.arg(key, type));
}

void TimelineDecodingTest::aWrongMemberOfALineIsNamed_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QString>("failure");
    for (const QString& key :
         {u"txn_id"_s, u"date"_s, u"merchant"_s, u"name"_s, u"account_mask"_s, u"note"_s}) {
        QTest::newRow(qUtf8Printable(key)) << key << QJsonValue(5) << u"expected text, found a number"_s;
    }
    for (const QString& key : {u"amount"_s, u"running_balance"_s}) {
        QTest::newRow(qUtf8Printable(key)) << key << QJsonValue(u"5"_s) << u"expected a number, found text"_s;
    }
    const QString pending = u"pending"_s;
    QTest::newRow("pending true") << pending << QJsonValue(true) << u"expected an integer, found a boolean"_s;
    QTest::newRow("pending false") << pending << QJsonValue(false)
                                   << u"expected an integer, found a boolean"_s;
    QTest::newRow("pending text") << pending << QJsonValue(u"1"_s) << u"expected an integer, found text"_s;
    QTest::newRow("pending 0.5") << pending << QJsonValue(0.5)
                                 << u"expected an integer, found a number with a fraction"_s;
    QTest::newRow("pending 2^63") << pending << QJsonValue(0x1p63)
                                  << u"expected an integer, found a number out of range"_s;
    QTest::newRow("synthetic 1") << u"synthetic"_s << QJsonValue(1)
                                 << u"expected a boolean, found a number"_s;
    QTest::newRow("synthetic text") << u"synthetic"_s << QJsonValue(u"true"_s)
                                    << u"expected a boolean, found text"_s;
}

void TimelineDecodingTest::aWrongMemberOfALineIsNamed() {
    QFETCH(QString, key);
    QFETCH(QJsonValue, value);
    QFETCH(QString, failure);
    QCOMPARE(decodingFailure([&] { return decodedLine(with(line(), key, value)); }),
             u"transactions[0].%1: %2"_s.arg(key, failure));
}

void TimelineDecodingTest::oneBadLineFailsTheWholeLedger() {
    QJsonArray lines;
    for (int i = 0; i < 5; ++i) {
        lines.append(i == 3 ? with(line(), u"pending"_s, true) : line());
    }
    const QByteArray body = bodyOf(ledger(lines));
    QCOMPARE(decodingFailure([&] { return decodeTimeline(body); }),
             u"transactions[3].pending: expected an integer, found a boolean"_s);
}

void TimelineDecodingTest::theFirstWrongMemberInTheRecordsOrderIsNamed() {
    const QJsonObject emptyLine;
    const QByteArray lines = bodyOf(without(ledger({line(), emptyLine}), u"as_of"_s));
    QCOMPARE(decodingFailure([&] { return decodeTimeline(lines); }), u"transactions[1].date: missing"_s);
    QCOMPARE(decodingFailure([&] { return decodeTimeline("{}"); }), u"total_owed: missing"_s);
}

void TimelineDecodingTest::pendingIsAFlagThatIsANumber_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<bool>("isPending");
    QTest::newRow("1") << QByteArray(R"("pending":1,)") << true;
    QTest::newRow("1.0") << QByteArray(R"("pending":1.0,)") << true;
    QTest::newRow("1e0") << QByteArray(R"("pending":1e0,)") << true;
    QTest::newRow("-1") << QByteArray(R"("pending":-1,)") << true;
    QTest::newRow("2^63-1") << QByteArray(R"("pending":9223372036854775807,)") << true;
    QTest::newRow("0") << QByteArray(R"("pending":0,)") << false;
    QTest::newRow("0.0") << QByteArray(R"("pending":0.0,)") << false;
    QTest::newRow("null") << QByteArray(R"("pending":null,)") << false;
    QTest::newRow("no key") << QByteArray() << false;
}

void TimelineDecodingTest::pendingIsAFlagThatIsANumber() {
    QFETCH(QByteArray, json);
    QFETCH(bool, isPending);
    QByteArray body = bodyOfLine(line());
    body.replace("\"date\"", json + "\"date\"");
    QCOMPARE(decodeTimeline(body).transactions.front().isPending(), isPending);
}

void TimelineDecodingTest::syntheticFalseAndAbsentDiffer() {
    const Transaction absent = decodedLine(line());
    const Transaction notSynthetic = decodedLine(with(line(), u"synthetic"_s, false));
    QVERIFY(!absent.isSynthetic());
    QVERIFY(!notSynthetic.isSynthetic());
    QVERIFY(absent != notSynthetic);
}

void TimelineDecodingTest::ofARepeatedMemberTheLastCounts() {
    QByteArray body = bodyOfLine(line());
    body.replace("\"amount\":12.5",
                 R"("amount":true,"pending":true,"amount":1,"pending":1,"note":"x","note":null)");
    body.chop(1);
    body += R"(,"total_owed":7})";
    const Timeline timeline = decodeTimeline(body);
    QCOMPARE(timeline.totalOwed, 7.0);
    QCOMPARE(timeline.transactions.front().amount, 1.0);
    QVERIFY(timeline.transactions.front().isPending());
    QVERIFY(!timeline.transactions.front().note);

    body.chop(1);
    body += R"(,"transactions":[]})";
    QVERIFY(decodeTimeline(body).transactions.empty());
}

void TimelineDecodingTest::aByteOrderMarkIsSkipped() {
    QCOMPARE(decodeTimeline("\xEF\xBB\xBF" + bodyOf(ledger())).totalOwed, 1234.56);
}

void TimelineDecodingTest::anEmptyBodyIsRefused() {
    QCOMPARE(decodingFailure([] { return decodeTimeline(QByteArray()); }), u"body: empty"_s);
}

void TimelineDecodingTest::decodingFollowsNoLocale() {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    const Timeline timeline = decodeTimeline(bodyOfLine(line()));
    std::setlocale(LC_ALL, "C.UTF-8");
    QLocale::setDefault(before);
    QCOMPARE(timeline.totalOwed, 1234.56);
    QCOMPARE(timeline.transactions.front().amount, 12.5);
}

void TimelineDecodingTest::textsThatRepeatAreStoredOnce() {
    QJsonArray lines;
    for (int i = 0; i < 3; ++i) {
        QJsonObject object = line();
        for (const QString& key : {u"merchant"_s, u"name"_s, u"account_mask"_s, u"note"_s}) {
            object.insert(key, key);
        }
        lines.append(object);
    }
    const Timeline timeline = decodeTimeline(bodyOf(ledger(lines)));
    const Transaction& first = timeline.transactions[0];
    for (const Transaction& other : timeline.transactions) {
        QVERIFY(other.date.constData() == first.date.constData());
        QVERIFY(other.merchant.utf8().data() == first.merchant.utf8().data());
        QVERIFY(other.name.utf8().data() == first.name.utf8().data());
        QVERIFY(other.accountMask.utf8().data() == first.accountMask.utf8().data());
        QVERIFY(other.note.utf8().data() == first.note.utf8().data());
    }
    QCOMPARE(*first.accountMask, u"account_mask"_s);
}

void TimelineDecodingTest::decodedTextsOutliveTheBody() {
    QByteArray body = bodyOfLine(with(with(line(), u"txn_id"_s, u"t1"_s), u"merchant"_s, u"Cafe"_s));
    const Timeline timeline = decodeTimeline(body);
    body.fill('x');
    body.clear();
    QCOMPARE(*timeline.transactions.front().txnId, u"t1"_s);
    QCOMPARE(*timeline.transactions.front().merchant, u"Cafe"_s);
    QCOMPARE(timeline.transactions.front().date, u"2024-05-01"_s);
}

QUILLO_TEST(TimelineDecodingTest, QCoreApplication)
#include "TimelineDecodingTest.moc"
