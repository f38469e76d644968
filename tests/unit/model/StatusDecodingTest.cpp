#include "model/Decoding.h"

#include "DecodingFailure.h"
#include "support/TestMain.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using test::decodingFailure;

class StatusDecodingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void aBodyWithoutLinksDecodes();
    void aLinkWithEveryMemberDecodes();
    void aLinkWithoutOptionalMembersDecodes_data();
    void aLinkWithoutOptionalMembersDecodes();
    void anOutageNeedsAnArea();
    void aNullNeedsAddCreditNeedsNoCard();
    void linksKeepTheirOrder();
    void oneBadMemberFailsTheWholeBody_data();
    void oneBadMemberFailsTheWholeBody();
};

void StatusDecodingTest::aBodyWithoutLinksDecodes() {
    QVERIFY(decodeStatusResponse(R"({"items":[]})").items.empty());
    QVERIFY(decodeStatusResponse(R"({"version":{"items":1},"items":[],"Items":5})").items.empty());
}

void StatusDecodingTest::aLinkWithEveryMemberDecodes() {
    const StatusResponse response = decodeStatusResponse(
        R"({"items":[{"item_id":"i1","institution":"First Bank","error_code":"ITEM_LOGIN_REQUIRED",)"
        R"("error_message":"sign in","needs_update":true,"needs_add_credit":true,"has_credit_account":false,)"
        R"("bank_outage":{"areas":[{"area":"login","status":"down","more":1},{"area":"","status":""}],"since":5},)"
        R"("hint":"try again","other":null}]})");
    QCOMPARE(response.items.size(), std::size_t{1});
    const ItemStatus& item = response.items.front();
    QCOMPARE(item.itemId, u"i1"_s);
    QCOMPARE(item.institution, std::optional(u"First Bank"_s));
    QCOMPARE(item.errorCode, std::optional(u"ITEM_LOGIN_REQUIRED"_s));
    QCOMPARE(item.errorMessage, std::optional(u"sign in"_s));
    QVERIFY(item.needsUpdate);
    QCOMPARE(item.needsAddCredit, std::optional(true));
    QCOMPARE(item.hasCreditAccount, std::optional(false));
    QCOMPARE(item.hint, std::optional(u"try again"_s));
    QVERIFY(item.bankOutage);
    QVERIFY(
        (item.bankOutage->areas == std::vector<BankOutage::Area>{{u"login"_s, u"down"_s}, {u""_s, u""_s}}));
    QVERIFY(item.isBankDegraded());
    QVERIFY(item.needsLinkCreditCard());
}

void StatusDecodingTest::aLinkWithoutOptionalMembersDecodes_data() {
    QTest::addColumn<QByteArray>("rest");
    QTest::newRow("no key") << QByteArray();
    QTest::newRow("null") << QByteArray(
        R"(,"institution":null,"error_code":null,"error_message":null,"needs_add_credit":null,)"
        R"("has_credit_account":null,"bank_outage":null,"hint":null)");
}

void StatusDecodingTest::aLinkWithoutOptionalMembersDecodes() {
    QFETCH(QByteArray, rest);
    const StatusResponse response =
        decodeStatusResponse(R"({"items":[{"item_id":"i1","needs_update":false)" + rest + "}]}");
    const ItemStatus& item = response.items.front();
    QCOMPARE(item.id(), u"i1"_s);
    QVERIFY(!item.needsUpdate);
    QVERIFY(!item.institution && !item.errorCode && !item.errorMessage && !item.needsAddCredit);
    QVERIFY(!item.hasCreditAccount && !item.bankOutage && !item.hint);
    QVERIFY(!item.isBankDegraded());
    QVERIFY(!item.needsLinkCreditCard());
}

void StatusDecodingTest::anOutageNeedsAnArea() {
    const StatusResponse response = decodeStatusResponse(
        R"({"items":[{"item_id":"a","needs_update":false,"bank_outage":{"areas":[]}},)"
        R"({"item_id":"b","needs_update":false,"bank_outage":{"areas":[{"area":"x","status":"y"}]}}]})");
    QVERIFY(response.items[0].bankOutage);
    QVERIFY(!response.items[0].isBankDegraded());
    QVERIFY(response.items[1].isBankDegraded());
}

void StatusDecodingTest::aNullNeedsAddCreditNeedsNoCard() {
    const StatusResponse response =
        decodeStatusResponse(R"({"items":[{"item_id":"a","needs_update":true,"needs_add_credit":null}]})");
    QVERIFY(!response.items.front().needsLinkCreditCard());
}

void StatusDecodingTest::linksKeepTheirOrder() {
    const StatusResponse response = decodeStatusResponse(
        R"({"items":[{"item_id":"b","needs_update":true},{"needs_update":false,"item_id":"a"}]})");
    QCOMPARE(response.items[0].itemId, u"b"_s);
    QVERIFY(response.items[0].needsUpdate);
    QCOMPARE(response.items[1].itemId, u"a"_s);
    QVERIFY(!response.items[1].needsUpdate);
}

void StatusDecodingTest::oneBadMemberFailsTheWholeBody_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("failure");
    QTest::newRow("no items") << QByteArray("{}") << u"items: missing"_s;
    QTest::newRow("null items") << QByteArray(R"({"items":null})")
                                << u"items: expected an array, found null"_s;
    QTest::newRow("a list") << QByteArray("[]") << u"body: expected an object, found an array"_s;
    QTest::newRow("an empty body") << QByteArray() << u"body: empty"_s;

    // After a good link, a bad one.
    const auto bad = [](const QByteArray& name, const QByteArray& item, const QString& failure) {
        QTest::newRow(name.constData())
            << R"({"items":[{"item_id":"a","needs_update":true},)" + item + "]}" << u"items[1]"_s + failure;
    };
    bad("no object", "7", u": expected an object, found a number"_s);
    bad("no item_id", R"({"needs_update":true})", u".item_id: missing"_s);
    bad("null item_id", R"({"item_id":null,"needs_update":true})", u".item_id: expected text, found null"_s);
    bad("no needs_update", R"({"item_id":"b"})", u".needs_update: missing"_s);
    bad("null needs_update", R"({"item_id":"b","needs_update":null})",
        u".needs_update: expected a boolean, found null"_s);
    bad("numeric needs_update", R"({"item_id":"b","needs_update":1})",
        u".needs_update: expected a boolean, found a number"_s);

    const auto wrong = [&bad](const QByteArray& key, const QByteArray& value, const QString& failure) {
        bad(key + " " + value, R"({"item_id":"b","needs_update":false,")" + key + "\":" + value + "}",
            u'.' + QString::fromLatin1(key) + failure);
    };
    for (const char* key : {"institution", "error_code", "error_message", "hint"}) {
        wrong(key, "false", u": expected text, found a boolean"_s);
    }
    for (const char* key : {"needs_add_credit", "has_credit_account"}) {
        wrong(key, "0", u": expected a boolean, found a number"_s);
    }
    wrong("bank_outage", "[]", u": expected an object, found an array"_s);
    wrong("bank_outage", "{}", u".areas: missing"_s);
    wrong("bank_outage", R"({"areas":null})", u".areas: expected an array, found null"_s);
    wrong("bank_outage", R"({"areas":{}})", u".areas: expected an array, found an object"_s);
    wrong("bank_outage", R"({"areas":["login"]})", u".areas[0]: expected an object, found text"_s);
    wrong("bank_outage", R"({"areas":[{"area":"x","status":"y"},{"status":"y"}]})",
          u".areas[1].area: missing"_s);
    wrong("bank_outage", R"({"areas":[{"area":"x"}]})", u".areas[0].status: missing"_s);
    wrong("bank_outage", R"({"areas":[{"area":"x","status":null}]})",
          u".areas[0].status: expected text, found null"_s);
}

void StatusDecodingTest::oneBadMemberFailsTheWholeBody() {
    QFETCH(QByteArray, body);
    QFETCH(QString, failure);
    QCOMPARE(decodingFailure([&] { return decodeStatusResponse(body); }), failure);
}

QUILLO_TEST(StatusDecodingTest, QCoreApplication)
#include "StatusDecodingTest.moc"
