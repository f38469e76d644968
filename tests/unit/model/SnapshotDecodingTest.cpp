#include "model/Decoding.h"

#include "DecodingFailure.h"
#include "support/TestMain.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using test::decodingFailure;

class SnapshotDecodingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void aBodyWithoutDaysDecodes();
    void daysDecodeInTheirOrder();
    void missingAndNullTotalsAreAbsent();
    void nullTotalsAreNotZeroTotals();
    void theCountIsAnyWholeNumber();
    void oneBadMemberFailsTheWholeList_data();
    void oneBadMemberFailsTheWholeList();
};

void SnapshotDecodingTest::aBodyWithoutDaysDecodes() {
    QVERIFY(decodeSnapshotListResponse(R"({"snapshots":[],"more":[{}]})").snapshots.empty());
}

void SnapshotDecodingTest::daysDecodeInTheirOrder() {
    const SnapshotListResponse response = decodeSnapshotListResponse(
        R"({"snapshots":[{"snapshot_date":"2024-05-02","created_at":"2024-05-02T23:59:00Z","total_owed":12.5,)"
        R"("pending_holds":1,"total_with_pending":13.5,"available":-4.25,"txn_count":57,"credit_limit":"no"},)"
        R"({"snapshot_date":"not a date","created_at":"","txn_count":0}]})");
    QVERIFY((response.snapshots == std::vector<SnapshotSummary>{
                                       {u"2024-05-02"_s, u"2024-05-02T23:59:00Z"_s, 12.5, 1, 13.5, -4.25, 57},
                                       {u"not a date"_s, u""_s, {}, {}, {}, {}, 0}}));
    QCOMPARE(response.snapshots[0].id(), u"2024-05-02"_s);
}

void SnapshotDecodingTest::missingAndNullTotalsAreAbsent() {
    const SnapshotListResponse response = decodeSnapshotListResponse(
        R"({"snapshots":[{"snapshot_date":"d","created_at":"c","txn_count":1},)"
        R"({"snapshot_date":"d","created_at":"c","total_owed":null,"pending_holds":null,)"
        R"("total_with_pending":null,"available":null,"txn_count":1}]})");
    const SnapshotSummary absent{u"d"_s, u"c"_s, {}, {}, {}, {}, 1};
    QVERIFY(response.snapshots[0] == absent);
    QVERIFY(response.snapshots[1] == absent);
}

void SnapshotDecodingTest::nullTotalsAreNotZeroTotals() {
    const SnapshotListResponse response = decodeSnapshotListResponse(
        R"({"snapshots":[{"snapshot_date":"d","created_at":"c","total_owed":0,"pending_holds":0,)"
        R"("total_with_pending":0,"available":0,"txn_count":1},)"
        R"({"snapshot_date":"d","created_at":"c","total_owed":null,"pending_holds":null,)"
        R"("total_with_pending":null,"available":null,"txn_count":1}]})");
    QVERIFY(response.snapshots[0] != response.snapshots[1]);
    QCOMPARE(response.snapshots[0].available, std::optional(0.0));
}

void SnapshotDecodingTest::theCountIsAnyWholeNumber() {
    const SnapshotListResponse response = decodeSnapshotListResponse(
        R"({"snapshots":[{"snapshot_date":"d","created_at":"c","txn_count":3.0},)"
        R"({"snapshot_date":"d","created_at":"c","txn_count":3e2},)"
        R"({"snapshot_date":"d","created_at":"c","txn_count":9223372036854775807}]})");
    QCOMPARE(response.snapshots[0].txnCount, 3);
    QCOMPARE(response.snapshots[1].txnCount, 300);
    QCOMPARE(response.snapshots[2].txnCount, std::numeric_limits<std::int64_t>::max());
}

void SnapshotDecodingTest::oneBadMemberFailsTheWholeList_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("failure");
    QTest::newRow("no list") << QByteArray("{}") << u"snapshots: missing"_s;
    QTest::newRow("null list") << QByteArray(R"({"snapshots":null})")
                               << u"snapshots: expected an array, found null"_s;
    QTest::newRow("an empty body") << QByteArray() << u"body: empty"_s;

    // After a good day, a bad one.
    const auto bad = [](const QByteArray& day, const QString& failure) {
        QTest::newRow(day.constData())
            << R"({"snapshots":[{"snapshot_date":"d","created_at":"c","txn_count":1},)" + day + "]}"
            << u"snapshots[1]"_s + failure;
    };
    bad("[]", u": expected an object, found an array"_s);
    bad(R"({"created_at":"c","txn_count":1})", u".snapshot_date: missing"_s);
    bad(R"({"snapshot_date":5,"created_at":"c","txn_count":1})",
        u".snapshot_date: expected text, found a number"_s);
    bad(R"({"snapshot_date":"d","txn_count":1})", u".created_at: missing"_s);
    bad(R"({"snapshot_date":"d","created_at":null,"txn_count":1})",
        u".created_at: expected text, found null"_s);
    bad(R"({"snapshot_date":"d","created_at":"c"})", u".txn_count: missing"_s);

    const auto wrong = [&bad](const QByteArray& rest, const QString& failure) {
        bad(R"({"snapshot_date":"d","created_at":"c",)" + rest + "}", failure);
    };
    wrong(R"("txn_count":null)", u".txn_count: expected an integer, found null"_s);
    wrong(R"("txn_count":true)", u".txn_count: expected an integer, found a boolean"_s);
    wrong(R"("txn_count":1.5)", u".txn_count: expected an integer, found a number with a fraction"_s);
    wrong(R"("txn_count":9223372036854775808)",
          u".txn_count: expected an integer, found a number out of range"_s);
    for (const char* key : {"total_owed", "pending_holds", "total_with_pending", "available"}) {
        wrong("\"" + QByteArray(key) + "\":\"1\",\"txn_count\":1",
              u'.' + QString::fromLatin1(key) + u": expected a number, found text"_s);
    }
}

void SnapshotDecodingTest::oneBadMemberFailsTheWholeList() {
    QFETCH(QByteArray, body);
    QFETCH(QString, failure);
    QCOMPARE(decodingFailure([&] { return decodeSnapshotListResponse(body); }), failure);
}

QUILLO_TEST(SnapshotDecodingTest, QCoreApplication)
#include "SnapshotDecodingTest.moc"
