#include "store/StoreFixture.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const auto noText = QString();

} // namespace

/// What the bank links ask of the user, from the backend's answer to the text.
class BankLinksTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        keyring.start();
        fixture = std::make_unique<StoreFixture>();
        fixture->startRefreshed();
    }
    void cleanupTestCase() { fixture.reset(); }

    void eachMessageTellsOfTheFirstLinkConcerned_data() {
        QTest::addColumn<QList<QByteArray>>("links");
        QTest::addColumn<QString>("reconnect");
        QTest::addColumn<QString>("outage");
        QTest::addColumn<QString>("addCredit");
        const auto link = [](const QByteArray& members) {
            return R"({"item_id":"a","needs_update":)" + members + "}";
        };
        const auto row = [](const char* name, const QList<QByteArray>& links, const QString& reconnect,
                            const QString& outage, const QString& addCredit) {
            QTest::newRow(name) << links << reconnect << outage << addCredit;
        };
        const QByteArray area = R"("bank_outage":{"areas":[{"area":"login","status":"down"}]})";

        row("no links", {}, noText, noText, noText);
        row("a link that works", {link(R"(false,"institution":"First")")}, noText, noText, noText);
        row("reconnect, neither name nor error", {link("true")},
            u"your bank needs re-authentication — OAuth consent expired."_s, noText, noText);
        row("reconnect, name and error",
            {link(R"(true,"institution":"First","error_message":"the login changed")")},
            u"First needs re-authentication — the login changed."_s, noText, noText);
        row("reconnect, the error has a full stop", {link(R"(true,"error_message":"Sign in.")")},
            u"your bank needs re-authentication — Sign in.."_s, noText, noText);
        row("reconnect, an empty error", {link(R"(true,"error_message":"")")},
            u"your bank needs re-authentication — ."_s, noText, noText);
        row("reconnect, an empty name", {link(R"(true,"institution":"")")},
            u" needs re-authentication — OAuth consent expired."_s, noText, noText);
        row("reconnect, two links",
            {link(R"(false,"institution":"Fine")"), link(R"(true,"institution":"Second")"),
             link(R"(true,"institution":"Third")")},
            u"Second needs re-authentication — OAuth consent expired."_s, noText, noText);
        row("outage, no name", {link("false," + area)}, noText,
            u"Your bank is experiencing a service issue. Retry later."_s, noText);
        row("outage, name", {link(R"(false,"institution":"First",)" + area)}, noText,
            u"First is experiencing a service issue. Retry later."_s, noText);
        row("outage, an empty name", {link(R"(false,"institution":"",)" + area)}, noText,
            u" is experiencing a service issue. Retry later."_s, noText);
        row("outage, a hint", {link(R"(false,"institution":"First","hint":"Back at noon",)" + area)}, noText,
            u"Back at noon"_s, noText);
        row("outage, an empty hint", {link(R"(false,"hint":"",)" + area)}, noText, u""_s, noText);
        row("outage, two links",
            {link(R"(false,"institution":"First",)" + area), link(R"(false,"hint":"Second",)" + area)},
            noText, u"First is experiencing a service issue. Retry later."_s, noText);
        row("an outage without areas", {link(R"(false,"hint":"h","bank_outage":{"areas":[]})")}, noText,
            noText, noText);
        row("add card, no name", {link(R"(false,"needs_add_credit":true)")}, noText, noText,
            u"Your bank is connected but no credit card is linked. Re-run Link to add it."_s);
        row("add card, name", {link(R"(false,"institution":"First","needs_add_credit":true)")}, noText,
            noText, u"First is connected but no credit card is linked. Re-run Link to add it."_s);
        row("add card, an empty name", {link(R"(false,"institution":"","needs_add_credit":true)")}, noText,
            noText, u" is connected but no credit card is linked. Re-run Link to add it."_s);
        row("no card but none asked for", {link(R"(false,"has_credit_account":false)")}, noText, noText,
            noText);
        row("one link with everything",
            {link(R"(true,"institution":"First","hint":"h","needs_add_credit":true,)" + area)},
            u"First needs re-authentication — OAuth consent expired."_s, u"h"_s,
            u"First is connected but no credit card is linked. Re-run Link to add it."_s);
    }
    void eachMessageTellsOfTheFirstLinkConcerned() {
        QFETCH(QList<QByteArray>, links);
        QFETCH(QString, reconnect);
        QFETCH(QString, outage);
        QFETCH(QString, addCredit);
        refreshWith(Answer::http(200, statusBody(links)));
        auto& store = fixture->store();
        QVERIFY(!store.lastError->has_value());
        QCOMPARE(store.needsReconnect(), !reconnect.isNull());
        QCOMPARE(store.hasBankOutage(), !outage.isNull());
        QCOMPARE(store.needsAddCreditCard(), !addCredit.isNull());
        QCOMPARE(store.reconnectMessage().value_or(noText), reconnect);
        QCOMPARE(store.outageMessage().value_or(noText), outage);
        QCOMPARE(store.addCreditMessage().value_or(noText), addCredit);
        QCOMPARE(store.reconnectMessage().has_value(), store.needsReconnect());
        QCOMPARE(store.outageMessage().has_value(), store.hasBankOutage());
        QCOMPARE(store.addCreditMessage().has_value(), store.needsAddCreditCard());
    }

    void aStatusWithoutLinksTakesEveryConditionBack() {
        refreshWith(Answer::http(
            200, statusBody({R"({"item_id":"a","needs_update":true,"needs_add_credit":true,"hint":"h",)"
                             R"("bank_outage":{"areas":[{"area":"login","status":"down"}]}})"})));
        auto& store = fixture->store();
        QVERIFY(store.needsReconnect() && store.hasBankOutage() && store.needsAddCreditCard());
        refreshWith(Answer::http(200, statusBody()));
        QVERIFY(!store.needsReconnect() && !store.hasBankOutage() && !store.needsAddCreditCard());
        QVERIFY(!store.reconnectMessage() && !store.outageMessage() && !store.addCreditMessage());
    }

    void aFailedRefreshKeepsTheLastStatus() {
        refreshWith(Answer::http(200, statusBody({R"({"item_id":"a","needs_update":true})"})));
        auto& store = fixture->store();
        QVERIFY(store.needsReconnect());
        refreshWith(Answer::http(500));
        QVERIFY(store.needsReconnect());
        QVERIFY(store.reconnectMessage().has_value());
        refreshWith(Answer::http(200, statusBody()));
        QVERIFY(!store.needsReconnect());
        QVERIFY(!store.reconnectMessage().has_value());
    }

private:
    void refreshWith(const Answer& status) {
        fixture->backend.answer(target::status, status);
        await(fixture->store().refresh());
    }

    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<StoreFixture> fixture;
};

QUILLO_TEST(BankLinksTest, QCoreApplication)
#include "BankLinksTest.moc"
