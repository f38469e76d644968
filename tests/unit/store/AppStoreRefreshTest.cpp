#include "store/StoreFixture.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/TestCertificates.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto theLink = QByteArray(R"({"item_id":"a","needs_update":true})");

/// Calls `action` at each announcement.
template <typename T>
Observation watch(Published<T>& property, std::function<void()> action) {
    return property.observe(Published<T>::Repeats::deliver,
                            [action = std::move(action)](const T&) { action(); });
}

} // namespace

/// One refresh: what it asks, what it publishes, and what it says when it fails.
class AppStoreRefreshTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { keyring.start(); }
    void init() { fixture = std::make_unique<StoreFixture>(); }
    void cleanup() { fixture.reset(); }

    void aRefreshPublishesStatusLedgerAndSnapshots() {
        fixture->backend.answer(target::status, Answer::http(200, statusBody({theLink})));
        auto& store = fixture->startRefreshed();
        QCOMPARE((*store.itemStatuses)->size(), std::size_t{1});
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
        QCOMPARE((*store.availableSnapshots)->size(), std::size_t{1});
        QCOMPARE((*store.availableSnapshots)->front().snapshotDate, u"2024-04-30"_s);
        QVERIFY(!store.lastError->has_value());
        QVERIFY(!store.isLoading);
    }

    void theLedgerIsStampedWithTheTimeOfItsArrival() {
        const Gate gate;
        fixture->backend.answer(target::timeline, Answer::http(200, ledgerBody(1)).behind(gate));
        fixture->keepApiKey();
        auto& store = fixture->start();
        QVERIFY(waitUntil([&] { return fixture->backend.count(target::timeline) == 1; }));
        fixture->clock.advance(7s);
        gate.open();
        fixture->waitUntilSettled();
        QCOMPARE((*store.timeline)->fetchedAt, std::optional(fixture->clock.wallClock()));
    }

    void theThreeRequestsGoOutTogether() {
        const Gate gate;
        fixture->backend.answer(target::status, Answer::http(200, statusBody()).behind(gate));
        fixture->backend.answer(target::timeline, Answer::http(200, ledgerBody(1)).behind(gate));
        fixture->backend.answer(target::snapshots, Answer::http(200, snapshotsBody()).behind(gate));
        fixture->keepApiKey();
        auto& store = fixture->start();
        QVERIFY(waitUntil([&] { return fixture->backend.count() == 3; }));
        QVERIFY(store.isLoading);
        gate.open();
        fixture->waitUntilSettled();
        QVERIFY(store.timeline.get());
        QCOMPARE(fixture->backend.count(), 3);
    }

    void everyRequestCarriesTheApiKeyAndNoOtherCredential() {
        fixture->startRefreshed();
        for (const auto& path : {target::status, target::timeline, target::snapshots}) {
            const auto request = fixture->backend.requests(path).at(0);
            QCOMPARE(request.method, QByteArray("GET"));
            QCOMPARE(request.values("X-API-Key"), QList<QByteArray>{StoreFixture::apiKey});
            QVERIFY(request.values("Authorization").isEmpty());
        }
    }

    void changesAreAnnouncedInTheirOrderAndBeforeTheyHappen() {
        auto& store = fixture->startRefreshed();
        fixture->backend.answer(target::status, Answer::http(200, statusBody({theLink})));
        fixture->backend.answer(target::timeline, Answer::http(200, ledgerBody(2)));
        fixture->backend.answer(target::snapshots, Answer::http(200, snapshotsBody()));
        store.lastError = u"before"_s;
        QStringList order;
        const auto log = [&order](const QString& name, const auto& oldValue) {
            order.append(u"%1 was %2"_s.arg(name).arg(oldValue));
        };
        const std::vector<Observation> observations = [&] {
            std::vector<Observation> made;
            made.push_back(watch(store.isLoading, [&] { log(u"isLoading"_s, int(*store.isLoading)); }));
            made.push_back(
                watch(store.itemStatuses, [&] { log(u"itemStatuses"_s, (*store.itemStatuses)->size()); }));
            made.push_back(watch(store.availableSnapshots,
                                 [&] { log(u"availableSnapshots"_s, (*store.availableSnapshots)->size()); }));
            made.push_back(watch(store.timeline, [&] { log(u"timeline"_s, (*store.timeline)->totalOwed); }));
            made.push_back(watch(store.lastError, [&] { log(u"lastError"_s, **store.lastError); }));
            return made;
        }();
        await(store.refresh());
        const QStringList expected{u"isLoading was 0"_s,          u"itemStatuses was 0"_s,
                                   u"availableSnapshots was 1"_s, u"timeline was 1234.5"_s,
                                   u"lastError was before"_s,     u"isLoading was 1"_s};
        QCOMPARE(order, expected);
    }

    void aSuccessfulRefreshClearsTheError() {
        fixture->backend.answerInTurn(target::status, {Answer::http(503), Answer::http(200, statusBody())});
        fixture->keepApiKey();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(u"HTTP 503"_s));
        QVERIFY(!store.timeline.get());
        await(store.refresh());
        QVERIFY(!store.lastError->has_value());
        QVERIFY(store.timeline.get());
    }

    void refreshKeepsTheLastDataWhenOneRequestFails_data() {
        QTest::addColumn<QByteArray>("failing");
        QTest::newRow("status") << target::status;
        QTest::newRow("timeline") << target::timeline;
        QTest::newRow("snapshots") << target::snapshots;
    }
    void refreshKeepsTheLastDataWhenOneRequestFails() {
        QFETCH(QByteArray, failing);
        fixture->backend.answer(target::status, Answer::http(200, statusBody({theLink})));
        auto& store = fixture->startRefreshed();
        fixture->backend.answer(target::status, Answer::http(200, statusBody()));
        fixture->backend.answer(target::timeline, Answer::http(200, ledgerBody(2)));
        fixture->backend.answer(target::snapshots, Answer::http(200, snapshotsBody()));
        fixture->backend.answer(failing, Answer::http(500));
        const auto fetchedAt = (*store.timeline)->fetchedAt;
        fixture->clock.advance(10s);
        await(store.refresh());
        QCOMPARE(*store.lastError, std::optional(u"HTTP 500"_s));
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
        QCOMPARE((*store.timeline)->fetchedAt, fetchedAt);
        QCOMPARE((*store.itemStatuses)->size(), std::size_t{1});
        QVERIFY(store.needsReconnect());
        QCOMPARE((*store.availableSnapshots)->size(), std::size_t{1});
        QVERIFY(!store.isLoading);
    }

    void theStatusErrorIsReportedWhicheverFailedFirst() {
        const Gate gate;
        fixture->backend.answer(target::status, Answer::http(503).behind(gate));
        fixture->backend.answer(target::timeline, Answer::http(500));
        fixture->backend.answer(target::snapshots, Answer::http(502));
        fixture->keepApiKey();
        auto& store = fixture->start();
        QVERIFY(waitUntil([&] { return fixture->backend.count() == 3; }));
        drainEvents();
        QVERIFY(store.isLoading); // a failing request does not end the others
        QVERIFY(!store.lastError->has_value());
        gate.open();
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(u"HTTP 503"_s));
    }

    void theLedgerErrorIsReportedBeforeThatOfTheSnapshots() {
        const Gate gate;
        fixture->backend.answer(target::timeline, Answer::http(500).behind(gate));
        fixture->backend.answer(target::snapshots, Answer::http(502));
        fixture->keepApiKey();
        auto& store = fixture->start();
        QVERIFY(waitUntil([&] { return fixture->backend.count() == 3; }));
        gate.open();
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(u"HTTP 500"_s));
    }

    void aFailedRefreshEndsItsOtherRequests() {
        fixture->backend.answer(target::status, Answer::http(503));
        fixture->backend.answer(target::timeline, Answer::silence());
        fixture->backend.answer(target::snapshots, Answer::silence());
        fixture->keepApiKey();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QVERIFY(!store.isLoading);
        QCOMPARE(*store.lastError, std::optional(u"HTTP 503"_s));
        QVERIFY(waitUntil([&] { return fixture->backend.openConnections() == 0; }));
    }

    void overlappingRefreshesApplyTheirResultsInTheOrderTheyFinish() {
        auto& store = fixture->startRefreshed();
        const Gate early;
        const Gate late;
        fixture->backend.answerInTurn(target::timeline, {Answer::http(200, ledgerBody(1)).behind(late),
                                                         Answer::http(200, ledgerBody(2)).behind(early)});
        auto first = store.refresh();
        QVERIFY(waitUntil([&] { return fixture->backend.count(target::timeline) == 2; }));
        auto second = store.refresh();
        QVERIFY(waitUntil([&] { return fixture->backend.count(target::timeline) == 3; }));
        early.open();
        await(std::move(second));
        QCOMPARE((*store.timeline)->totalOwed, 2.0);
        QVERIFY(!store.isLoading); // the first to finish says so
        QVERIFY(!first.isFinished());
        late.open();
        await(std::move(first));
        QCOMPARE((*store.timeline)->totalOwed, 1.0);
        QVERIFY(!store.isLoading);
    }

    void backendAndKeyAreReadAtEachRefresh() {
        auto& store = fixture->startRefreshed();
        RoutedServer other;
        other.answer(target::status, Answer::http(200, statusBody()));
        other.answer(target::timeline, Answer::http(200, ledgerBody(7)));
        other.answer(target::snapshots, Answer::http(200, snapshotsBody()));
        store.settings.backend = other.origin();
        store.settings.apiKey = u" key-2 "_s;
        await(store.refresh());
        QCOMPARE((*store.timeline)->totalOwed, 7.0);
        QCOMPARE(other.requests(target::timeline).at(0).values("X-API-Key").at(0).trimmed(), "key-2");
        QCOMPARE(fixture->refreshes(), 1);
    }

    void certificatesAreCheckedUnlessTheUserSaysOtherwise() {
        auto& store = fixture->startRefreshed();
        const TestCertificates certificates;
        RoutedServer other(certificates.selfSigned());
        other.answer(target::status, Answer::http(200, statusBody()));
        other.answer(target::timeline, Answer::http(200, ledgerBody(7)));
        other.answer(target::snapshots, Answer::http(200, snapshotsBody()));
        store.settings.backend = other.origin();
        await(store.refresh());
        QVERIFY(store.lastError->value_or(QString()).contains(u"certificate"_s));
        QCOMPARE(other.count(), 0);
        store.settings.verifyTLS = false;
        await(store.refresh());
        QVERIFY(!store.lastError->has_value());
        QCOMPARE((*store.timeline)->totalOwed, 7.0);
    }

    void aWrongBodyNamesTheMemberAndKeepsTheLastLedger_data() {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("text");
        const auto line = [](const QByteArray& pending) {
            return ledgerBody(1, 0,
                              R"([{"date":"d","amount":1,"running_balance":1},)"
                              R"({"date":"d","amount":1,"running_balance":1,"pending":)" +
                                  pending + "}]");
        };
        QTest::newRow("ledger, type") << target::timeline << line("true")
                                      << u"Decode error: transactions[1].pending: expected an integer, "
                                         "found a boolean"_s;
        QTest::newRow("ledger, absent") << target::timeline << QByteArray(R"({"total_owed":1})")
                                        << u"Decode error: pending_holds: missing"_s;
        QTest::newRow("status") << target::status << statusBody({R"({"item_id":"a"})"})
                                << u"items[0].needs_update: missing"_s;
        QTest::newRow("snapshots") << target::snapshots << QByteArray(R"({"snapshots":{}})")
                                   << u"snapshots: expected an array, found an object"_s;
    }
    void aWrongBodyNamesTheMemberAndKeepsTheLastLedger() {
        QFETCH(QByteArray, target);
        QFETCH(QByteArray, body);
        QFETCH(QString, text);
        auto& store = fixture->startRefreshed();
        fixture->backend.answer(target, Answer::http(200, body));
        await(store.refresh());
        QCOMPARE(store.lastError->value_or(QString()), text);
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
    }

    void anEmptyLedgerBodyIsADecodeError() {
        auto& store = fixture->startRefreshed();
        fixture->backend.answer(target::timeline, Answer::http(204));
        await(store.refresh());
        QVERIFY(store.lastError->value_or(QString()).startsWith(u"Decode error: "_s));
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
    }

    void aRefusedCredentialIsTold() {
        fixture->backend.answer(target::status, Answer::http(401));
        fixture->keepApiKey();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(u"Sign-in rejected (401)"_s));
    }

    void aBackendThatIsDownIsTold() {
        auto& store = fixture->startRefreshed();
        fixture->backend.goDown();
        await(store.refresh());
        QVERIFY(store.lastError->value_or(QString()).contains(u"127.0.0.1"_s));
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
    }

    void aNonsenseBackendGivesAClearLineAndNoRequest_data() {
        QTest::addColumn<QString>("backend");
        QTest::addColumn<QString>("text");
        const auto noAddress = u"The address must begin with http:// or https://."_s;
        QTest::newRow("empty") << QString() << noAddress;
        QTest::newRow("space in the scheme") << u"ht tp://"_s << u"Bad backend URL"_s;
        QTest::newRow("file") << u"file:///etc/passwd"_s << noAddress;
        QTest::newRow("no scheme") << u"localhost:8080"_s << noAddress;
        QTest::newRow("no host") << u"http://"_s << u"The address names no server."_s;
    }
    void aNonsenseBackendGivesAClearLineAndNoRequest() {
        QFETCH(QString, backend);
        QFETCH(QString, text);
        auto& store = fixture->startRefreshed();
        const auto before = fixture->backend.acceptedConnections();
        store.settings.backend = backend;
        await(store.refresh());
        QCOMPARE(store.lastError->value_or(QString()), text);
        QVERIFY(!store.isLoading);
        QCOMPARE(fixture->backend.acceptedConnections(), before);
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
    }

    void anApiKeyWithALineBreakIsNotSent() {
        auto& store = fixture->startRefreshed();
        const auto before = fixture->backend.acceptedConnections();
        store.settings.apiKey = u"secret\r\nX-Other: 1"_s;
        await(store.refresh());
        QCOMPARE(store.lastError->value_or(QString()),
                 u"The value for X-API-Key contains a line break and was not sent."_s);
        QCOMPARE(fixture->backend.acceptedConnections(), before);
    }

private:
    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<StoreFixture> fixture;
};

QTEST_GUILESS_MAIN(AppStoreRefreshTest)
#include "AppStoreRefreshTest.moc"
