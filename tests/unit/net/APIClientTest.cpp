#include "net/APIClient.h"

#include "model/DecodingError.h"
#include "net/Sending.h"
#include "support/LoopStallProbe.h"
#include "support/ScriptedServer.h"
#include "support/TestCertificates.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

#include <functional>

using namespace quillo;
using namespace quillo::test;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr char ledger[] = R"({"total_owed": 1, "pending_holds": 2, "total_with_pending": 3, "credit_limit": 4,
    "available": 5, "as_of": "2024-05-01T08:00:00Z", "transactions": []})";
constexpr char ledgerWithoutAsOf[] = R"({"total_owed": 1, "pending_holds": 2, "total_with_pending": 3,
    "credit_limit": 4, "available": 5, "transactions": []})";

/// Long enough to be decoded on another thread.
constexpr int largeLedgerLines = 100'000;

QByteArray largeLedger() {
    const QByteArray line =
        R"({"date": "2024-05-01", "amount": 1.5, "running_balance": 2.5, "merchant": "Corner"})";
    QByteArray lines = line;
    for (int number = 1; number < largeLedgerLines; ++number) {
        lines += ',' + line;
    }
    return QByteArray(ledger).replace("[]", '[' + lines + ']');
}

/// Sent bit by bit, so that the server, which shares this thread, does not hold up the loop itself.
Answer inPieces(const QByteArray& body) {
    static constexpr qsizetype pieceSize = 65536;
    Answer answer = Answer::http(200, body);
    answer.more = [all = answer.bytes, sent = qsizetype{1}]() mutable {
        const QByteArray piece = all.sliced(sent, std::min(pieceSize, all.size() - sent));
        sent += piece.size();
        return piece;
    };
    answer.bytes.truncate(1);
    return answer;
}

/// What an operation's caller learns: nothing when it succeeded, else the type and the text of its error.
struct Outcome {
    enum class Kind { success, api, transport, decoding };

    Kind kind = Kind::success;
    QString text = {};

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

template <typename T>
Outcome outcomeOf(Task<T> task) {
    try {
        static_cast<void>(await(std::move(task)));
        return {};
    } catch (const APIError& error) {
        return {Outcome::Kind::api, error.errorDescription()};
    } catch (const TransportError& error) {
        return {Outcome::Kind::transport, error.errorDescription()};
    } catch (const DecodingError& error) {
        return {Outcome::Kind::decoding, error.errorDescription()};
    }
}

struct Operation {
    const char* name;
    QByteArray method;
    QByteArray target;
    QByteArray body;
    std::function<Outcome(const APIClient&, const QString& backend, const APIAuth&, bool verifyTLS)> call;
};

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all{
        {"timeline", "GET", "/api/timeline", ledger,
         [](const APIClient& client, const QString& backend, const APIAuth& auth, bool verifyTLS) {
             return outcomeOf(client.timeline(backend, auth, verifyTLS));
         }},
        {"sync", "POST", "/api/sync", "",
         [](const APIClient& client, const QString& backend, const APIAuth& auth, bool verifyTLS) {
             return outcomeOf(client.sync(backend, auth, verifyTLS));
         }},
        {"refreshFromBank", "POST", "/api/refresh", "",
         [](const APIClient& client, const QString& backend, const APIAuth& auth, bool verifyTLS) {
             return outcomeOf(client.refreshFromBank(backend, auth, verifyTLS));
         }},
        {"status", "GET", "/api/status", R"({"items": []})",
         [](const APIClient& client, const QString& backend, const APIAuth& auth, bool verifyTLS) {
             return outcomeOf(client.status(backend, auth, verifyTLS));
         }},
        {"snapshots", "GET", "/api/snapshots", R"({"snapshots": []})",
         [](const APIClient& client, const QString& backend, const APIAuth& auth, bool verifyTLS) {
             return outcomeOf(client.snapshots(backend, auth, verifyTLS));
         }},
        {"snapshot", "GET", "/api/snapshot/2024-05-01", ledger,
         [](const APIClient& client, const QString& backend, const APIAuth& auth, bool verifyTLS) {
             return outcomeOf(client.snapshot(backend, u"2024-05-01"_s, auth, verifyTLS));
         }},
    };
    return all;
}

const APIAuth key = APIAuth::apiKey(u"k-123"_s);

} // namespace

class APIClientTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void errorsCarryTheirTexts();
    void sharedIsOneInstance();
    void everyOperationSendsItsRequestAndNothingElse_data() { forEveryOperation(); }
    void everyOperationSendsItsRequestAndNothingElse();
    void theCredentialIsExactlyOneHeader_data();
    void theCredentialIsExactlyOneHeader();
    void aBackendThatEndsInASlashGivesTwo();
    void aBackendWithAPathKeepsIt();
    void aBackendThatIsNoURLSendsNothing_data();
    void aBackendThatIsNoURLSendsNothing();
    void aBackendThatIsNoWebAddressFailsWithTheTransportsError_data();
    void aBackendThatIsNoWebAddressFailsWithTheTransportsError();
    void theDateIsAppendedAsItIs_data();
    void theDateIsAppendedAsItIs();
    void aBadURLComesBeforeABadKey();
    void aKeyWithALineBreakIsNotSentAndNotQuoted();
    void statusesBecomeErrors_data();
    void statusesBecomeErrors();
    void theBodyOfAFailedResponseIsNotDecoded();
    void theBodyOfSyncAndRefreshIsIgnored();
    void noContentIsADecodeErrorForTheLedger();
    void timelineWithoutAsOfIsADecodeError();
    void aChunkedLedgerCutShortIsNeverTaken();
    void otherOperationsThrowTheReadersOwnError();
    void timelineIsDecoded();
    void aLargeLedgerIsDecodedWithoutHoldingUpTheLoop();
    void aFaultInALargeLedgerIsNamedAsInASmallOne();
    void aLargeLedgerMayBeDroppedWhileItIsDecoded();
    void statusIsDecoded();
    void snapshotsKeepTheBackendsOrder();
    void getAndPostHaveTheirOwnTimeouts();
    void theUsualTimeoutsAreTwentyAndThirtySeconds();
    void aSelfSignedCertificateIsAcceptedOnlyUnchecked();
    void aRedirectTakesTheCredentialNowhere();
    void theBankPullIsSentOnceWhenItsConnectionDies();
    void operationsRunAtTheSameTime();
    void droppingAnOperationClosesItsConnection();
    void theClientMayGoWhileItsRequestsRun();

private:
    static void forEveryOperation();

    ScriptedServer server{Answer::silence()};
    HTTPSession session;
    APIClient client{session};
};

void APIClientTest::forEveryOperation() {
    QTest::addColumn<int>("index");
    for (std::size_t index = 0; index < operations().size(); ++index) {
        QTest::newRow(operations()[index].name) << static_cast<int>(index);
    }
}

void APIClientTest::errorsCarryTheirTexts() {
    QCOMPARE(APIError::http(503).errorDescription(), u"HTTP 503"_s);
    QCOMPARE(APIError::http(-1).errorDescription(), u"HTTP -1"_s);
    QCOMPARE(APIError::decode(u"as_of: missing"_s).errorDescription(), u"Decode error: as_of: missing"_s);
    QCOMPARE(APIError::badURL().errorDescription(), u"Bad backend URL"_s);
    QCOMPARE(APIError::unauthorized().errorDescription(), u"Sign-in rejected (401)"_s);
}

void APIClientTest::sharedIsOneInstance() {
    QCOMPARE(&APIClient::shared(), &APIClient::shared());
}

void APIClientTest::everyOperationSendsItsRequestAndNothingElse() {
    QFETCH(const int, index);
    const auto& operation = operations()[static_cast<std::size_t>(index)];
    server.startOver(Answer::http(200, operation.body));
    QCOMPARE(operation.call(client, server.origin(), key, true), Outcome());
    QCOMPARE(server.requests().size(), 1U);
    const auto& request = server.requests()[0];
    QVERIFY(request.raw.startsWith(operation.method + " " + operation.target + " HTTP/1.1\r\n"));
    QCOMPARE(request.values("X-API-Key"), QList<QByteArray>{"k-123"});
    // Beside the credential, only what every request of the transport carries.
    QStringList names;
    for (const auto& header : request.headers) {
        names += QString::fromLatin1(header.name).toLower();
    }
    names.removeAll(u"content-length"_s); // Of a POST, and 0: see the body.
    names.sort();
    QCOMPARE(names, (QStringList{u"accept-encoding"_s, u"connection"_s, u"host"_s, u"user-agent"_s,
                                 u"x-api-key"_s}));
    QCOMPARE(request.body, QByteArray());
    QCOMPARE(server.receivedBytes(), request.raw.size());
}

void APIClientTest::theCredentialIsExactlyOneHeader_data() {
    QTest::addColumn<bool>("bearer");
    QTest::addColumn<QString>("secret");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("bearer") << true << u"abc.def"_s << QByteArray("Authorization")
                            << QByteArray("Bearer abc.def");
    QTest::newRow("key") << false << u"abc"_s << QByteArray("X-API-Key") << QByteArray("abc");
    QTest::newRow("key beyond ASCII")
        << false << u"kéy"_s << QByteArray("X-API-Key") << QByteArray("k\xC3\xA9y");
    QTest::newRow("key with blanks inside")
        << false << u"a  b"_s << QByteArray("X-API-Key") << QByteArray("a  b");
}

void APIClientTest::theCredentialIsExactlyOneHeader() {
    QFETCH(const bool, bearer);
    QFETCH(const QString, secret);
    QFETCH(const QByteArray, header);
    QFETCH(const QByteArray, value);
    const APIAuth auth = bearer ? APIAuth::bearer(secret) : APIAuth::apiKey(secret);
    for (const auto& operation : operations()) {
        server.startOver(Answer::http(200, operation.body));
        QCOMPARE(operation.call(client, server.origin(), auth, true), Outcome());
        const auto& request = server.requests().at(0);
        const auto credentials = request.values("Authorization") + request.values("X-API-Key");
        QCOMPARE(credentials, QList<QByteArray>{value});
        QCOMPARE(request.values(header), credentials);
    }
}

void APIClientTest::aBackendThatEndsInASlashGivesTwo() {
    for (const auto& operation : operations()) {
        server.startOver(Answer::http(200, operation.body));
        operation.call(client, server.origin() + u'/', key, true);
        QCOMPARE(server.requests().at(0).target, "/" + operation.target);
    }
}

void APIClientTest::aBackendWithAPathKeepsIt() {
    for (const auto& operation : operations()) {
        server.startOver(Answer::http(200, operation.body));
        operation.call(client, server.origin() + u"/my%20money?x="_s, key, true);
        QCOMPARE(server.requests().at(0).target, "/my%20money?x=" + operation.target);
        QCOMPARE(server.requests().at(0).body, QByteArray());
    }
}

void APIClientTest::aBackendThatIsNoURLSendsNothing_data() {
    QTest::addColumn<QString>("backend");
    for (const auto* backend :
         {"ht tp://", " https://127.0.0.1", "https://127.0.0.1 ", "http://host name",
          "http://127.0.0.1:99999", "http://127.0.0.1:80a", "http://[::1", "http://127.0.0.1/%zz",
          "http://127.0.0.1/\"", "://", "127.0.0.1:8080", "http://127.0.0.1/a\r\nX-Other: 1",
          "http://127.0.0.1\n", "http://127.0.0.1/{}"}) {
        QTest::newRow(backend) << QString::fromUtf8(backend);
    }
}

void APIClientTest::aBackendThatIsNoURLSendsNothing() {
    QFETCH(const QString, backend);
    for (const auto& operation : operations()) {
        QCOMPARE(operation.call(client, backend, key, true),
                 (Outcome{Outcome::Kind::api, u"Bad backend URL"_s}));
    }
}

void APIClientTest::aBackendThatIsNoWebAddressFailsWithTheTransportsError_data() {
    QTest::addColumn<QString>("backend");
    QTest::addColumn<QString>("text");
    const QString scheme = u"The address must begin with http:// or https://."_s;
    QTest::newRow("empty") << u""_s << scheme;
    QTest::newRow("host only") << u"app.example"_s << scheme;
    QTest::newRow("host and port") << u"localhost:8080"_s << scheme;
    QTest::newRow("file") << u"file:///etc/passwd"_s << scheme;
    QTest::newRow("data") << u"data:,x"_s << scheme;
    QTest::newRow("scheme only") << u"https://"_s << u"The address names no server."_s;
}

void APIClientTest::aBackendThatIsNoWebAddressFailsWithTheTransportsError() {
    QFETCH(const QString, backend);
    QFETCH(const QString, text);
    for (const auto& operation : operations()) {
        const Outcome outcome = operation.call(client, backend, key, true);
        QCOMPARE(outcome.text, text);
        QVERIFY(outcome.kind == Outcome::Kind::transport);
    }
}

void APIClientTest::theDateIsAppendedAsItIs_data() {
    QTest::addColumn<QString>("date");
    for (const auto* date : {"2024-05-01", "", "2024/05/01", "2024?05", "2024-05-01?x=1&y=2", "%2F", "a%20b",
                             "//2024", "2024/", "2024;v=1", "...", "../refresh", "%41%2D%7e"}) {
        QTest::newRow(date) << QString::fromLatin1(date);
    }
}

void APIClientTest::theDateIsAppendedAsItIs() {
    QFETCH(const QString, date);
    server.startOver(Answer::http(200, ledger));
    QCOMPARE(await(client.snapshot(server.origin(), date, key, true))->totalOwed, 1.0);
    QCOMPARE(server.requests().size(), 1U);
    QCOMPARE(server.requests()[0].target, "/api/snapshot/" + date.toLatin1());
}

void APIClientTest::aBadURLComesBeforeABadKey() {
    const APIAuth broken = APIAuth::apiKey(u"a\nb"_s);
    for (const auto& operation : operations()) {
        QCOMPARE(operation.call(client, u"ht tp://"_s, broken, true).text, u"Bad backend URL"_s);
    }
}

void APIClientTest::aKeyWithALineBreakIsNotSentAndNotQuoted() {
    server.startOver(Answer::http(200, ledger));
    for (const auto& operation : operations()) {
        const Outcome forKey = operation.call(client, server.origin(), APIAuth::apiKey(u"a\r\nb: c"_s), true);
        QCOMPARE(forKey.text, u"The value for X-API-Key contains a line break and was not sent."_s);
        const Outcome forToken = operation.call(client, server.origin(), APIAuth::bearer(u"a\n"_s), true);
        QCOMPARE(forToken.text, u"The value for Authorization contains a line break and was not sent."_s);
    }
    drainEvents();
    QCOMPARE(server.acceptedConnections(), 0);
}

void APIClientTest::statusesBecomeErrors_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("text");
    for (const int status : {200, 201, 202, 299}) {
        QTest::addRow("%d", status) << status << QString();
    }
    QTest::newRow("401") << 401 << u"Sign-in rejected (401)"_s;
    for (const int status : {300, 302, 304, 307, 400, 403, 404, 418, 500, 503}) {
        QTest::addRow("%d", status) << status << u"HTTP %1"_s.arg(status);
    }
}

void APIClientTest::statusesBecomeErrors() {
    QFETCH(const int, status);
    QFETCH(const QString, text);
    for (const auto& operation : operations()) {
        const QByteArray body = status == 304 ? QByteArray() : operation.body;
        server.startOver(Answer::http(status, body));
        const Outcome outcome = operation.call(client, server.origin(), key, true);
        QCOMPARE(outcome.text, text);
        QVERIFY(outcome.kind == (text.isEmpty() ? Outcome::Kind::success : Outcome::Kind::api));
        QCOMPARE(server.requests().size(), 1U);
    }
}

void APIClientTest::theBodyOfAFailedResponseIsNotDecoded() {
    server.startOver(Answer::http(500, "<html>no JSON</html>"));
    for (const auto& operation : operations()) {
        QCOMPARE(operation.call(client, server.origin(), key, true).text, u"HTTP 500"_s);
    }
}

void APIClientTest::theBodyOfSyncAndRefreshIsIgnored() {
    for (const auto& answer : {Answer::http(204), Answer::http(200, "no JSON"), Answer::http(200, ledger)}) {
        server.startOver(answer);
        await(client.sync(server.origin(), key, true));
        await(client.refreshFromBank(server.origin(), key, true));
        QCOMPARE(server.requests().size(), 2U);
    }
}

void APIClientTest::noContentIsADecodeErrorForTheLedger() {
    server.startOver(Answer::http(204));
    const auto failure = failureOf<APIError>(client.timeline(server.origin(), key, true));
    QVERIFY(failure);
    QVERIFY(failure->errorDescription().startsWith(u"Decode error: "_s));
}

void APIClientTest::timelineWithoutAsOfIsADecodeError() {
    server.startOver(Answer::http(200, ledgerWithoutAsOf));
    const auto failure = failureOf<APIError>(client.timeline(server.origin(), key, true));
    QVERIFY(failure);
    QCOMPARE(failure->errorDescription(), u"Decode error: as_of: missing"_s);
}

void APIClientTest::aChunkedLedgerCutShortIsNeverTaken() {
    const QByteArray body = ledger;
    for (const qsizetype size : {qsizetype{0}, qsizetype{1}, body.size() / 2, body.size() - 1}) {
        const QByteArray head = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
        const QByteArray chunk = QByteArray::number(body.size(), 16) + "\r\n" + body.first(size);
        server.startOver(Answer::andClose(head + chunk));
        const Outcome outcome = outcomeOf(client.timeline(server.origin(), key, true));
        QCOMPARE(outcome.text, u"The answer from 127.0.0.1:%1 was cut short."_s.arg(server.port()));
    }
}

void APIClientTest::otherOperationsThrowTheReadersOwnError() {
    server.startOver(Answer::http(200, ledgerWithoutAsOf));
    const auto status = failureOf<DecodingError>(client.status(server.origin(), key, true));
    QVERIFY(status);
    QCOMPARE(status->errorDescription(), u"items: missing"_s);
    const auto snapshots = failureOf<DecodingError>(client.snapshots(server.origin(), key, true));
    QVERIFY(snapshots);
    QCOMPARE(snapshots->errorDescription(), u"snapshots: missing"_s);
    const auto snapshot =
        failureOf<DecodingError>(client.snapshot(server.origin(), u"2024-05-01"_s, key, true));
    QVERIFY(snapshot);
    QCOMPARE(snapshot->errorDescription(), u"as_of: missing"_s);
}

void APIClientTest::timelineIsDecoded() {
    server.startOver(Answer::http(200, ledger));
    const Timeline timeline = *await(client.timeline(server.origin(), key, true));
    QCOMPARE(timeline.totalWithPending, 3.0);
    QCOMPARE(timeline.asOf, u"2024-05-01T08:00:00Z"_s);
    QVERIFY(!timeline.fetchedAt);
}

void APIClientTest::aLargeLedgerIsDecodedWithoutHoldingUpTheLoop() {
    server.startOver(inPieces(largeLedger()));
    LoopStallProbe probe;
    const Timeline timeline = *await(client.timeline(server.origin(), key, true));
    const auto stall = probe.longestStall();
    QCOMPARE(timeline.transactions.size(), std::size_t{largeLedgerLines});
    QCOMPARE(*timeline.transactions.back().merchant, u"Corner"_s);
    QVERIFY2(stall < LoopStallProbe::budget, qPrintable(QString::number(stall.count()) + u" ms"_s));
}

void APIClientTest::aFaultInALargeLedgerIsNamedAsInASmallOne() {
    server.startOver(inPieces(largeLedger().replace(R"("as_of")", R"("as_off")")));
    ScriptedServer small(Answer::http(200, ledgerWithoutAsOf));
    const auto expected = outcomeOf(client.timeline(small.origin(), key, true));
    QCOMPARE(expected.kind, Outcome::Kind::api);
    QCOMPARE(outcomeOf(client.timeline(server.origin(), key, true)), expected);
}

void APIClientTest::aLargeLedgerMayBeDroppedWhileItIsDecoded() {
    server.startOver(inPieces(largeLedger()));
    auto task = client.timeline(server.origin(), key, true);
    QVERIFY(waitUntil([this] { return server.openConnections() == 1; }));
    // The connection closes with the response's end, and then the body is being decoded.
    QVERIFY(waitUntil([&] { return server.openConnections() == 0; }));
    task.cancel();
    drainEvents();
    const Timeline timeline = *await(client.timeline(server.origin(), key, true));
    QCOMPARE(timeline.transactions.size(), std::size_t{largeLedgerLines});
}

void APIClientTest::statusIsDecoded() {
    server.startOver(Answer::http(200, R"({"items": [{"item_id": "a", "needs_update": true}]})"));
    const StatusResponse status = await(client.status(server.origin(), key, true));
    QCOMPARE(status.items.size(), 1U);
    QCOMPARE(status.items[0].itemId, u"a"_s);
}

void APIClientTest::snapshotsKeepTheBackendsOrder() {
    server.startOver(Answer::http(200, R"({"snapshots": [
        {"snapshot_date": "2024-05-02", "created_at": "x", "txn_count": 2},
        {"snapshot_date": "2024-04-30", "created_at": "y", "txn_count": 1},
        {"snapshot_date": "2024-05-02", "created_at": "z", "txn_count": 3}]})"));
    QStringList dates;
    for (const auto& summary : await(client.snapshots(server.origin(), key, true))) {
        dates.append(summary.snapshotDate);
    }
    QCOMPARE(dates, QStringList({u"2024-05-02"_s, u"2024-04-30"_s, u"2024-05-02"_s}));
}

void APIClientTest::getAndPostHaveTheirOwnTimeouts() {
    server.startOver(Answer::silence());
    const APIClient impatientGet(session, APIClient::Timeouts{.get = 50ms, .post = 1h});
    const APIClient impatientPost(session, APIClient::Timeouts{.get = 1h, .post = 50ms});
    for (const auto& operation : operations()) {
        const auto& impatient = operation.method == "GET" ? impatientGet : impatientPost;
        QCOMPARE(operation.call(impatient, server.origin(), key, true).text, u"The request timed out."_s);
    }
    QVERIFY(server.requests().size() <= operations().size()); // none is sent again
}

void APIClientTest::theUsualTimeoutsAreTwentyAndThirtySeconds() {
    QCOMPARE(APIClient::Timeouts().get, 20s);
    QCOMPARE(APIClient::Timeouts().post, 30s);
}

void APIClientTest::aSelfSignedCertificateIsAcceptedOnlyUnchecked() {
    ScriptedServer secure(Answer::silence(), TestCertificates().selfSigned());
    for (const auto& operation : operations()) {
        secure.startOver(Answer::http(200, operation.body));
        QCOMPARE(operation.call(client, secure.origin(), key, false), Outcome());
        const Outcome outcome = operation.call(client, secure.origin(), key, true);
        QCOMPARE(outcome.text,
                 u"The certificate of 127.0.0.1:%1 is not trusted: it is self-signed."_s.arg(secure.port()));
        QCOMPARE(secure.requests().size(), 1U);
    }
}

void APIClientTest::aRedirectTakesTheCredentialNowhere() {
    ScriptedServer other(Answer::http(200, ledger));
    server.startOver(Answer::http(302, {}, {"Location: " + other.origin().toLatin1() + "/api/timeline"}));
    for (const auto& operation : operations()) {
        QCOMPARE(operation.call(client, server.origin(), key, true).text, u"HTTP 302"_s);
        QCOMPARE(operation.call(client, server.origin(), APIAuth::bearer(u"t"_s), true).text, u"HTTP 302"_s);
    }
    drainEvents();
    QCOMPARE(other.acceptedConnections(), 0);
}

void APIClientTest::theBankPullIsSentOnceWhenItsConnectionDies() {
    server.startOver(Answer::andClose({}));
    const auto failure = failureOf<TransportError>(client.refreshFromBank(server.origin(), key, true));
    QVERIFY(failure);
    QCOMPARE(failure->errorDescription(),
             u"127.0.0.1:%1 closed the connection without an answer."_s.arg(server.port()));
    drainEvents();
    QCOMPARE(server.requests().size(), 1U);
}

void APIClientTest::operationsRunAtTheSameTime() {
    server.startOver(Answer::silence());
    const auto status = client.status(server.origin(), key, true);
    const auto timeline = client.timeline(server.origin(), key, true);
    const auto snapshots = client.snapshots(server.origin(), key, true);
    QVERIFY(waitUntil([this] { return server.requests().size() == 3; }));
}

void APIClientTest::droppingAnOperationClosesItsConnection() {
    server.startOver(Answer::silence());
    auto timeline = client.timeline(server.origin(), key, true);
    auto pull = client.refreshFromBank(server.origin(), key, true);
    QVERIFY(waitUntil([this] { return server.requests().size() == 2; }));
    timeline.cancel();
    QVERIFY(waitUntil([this] { return server.openConnections() == 1; }));
    pull.cancel();
    QVERIFY(waitUntil([this] { return server.openConnections() == 0; }));
}

void APIClientTest::theClientMayGoWhileItsRequestsRun() {
    server.startOver(Answer::http(200, ledger));
    auto ownSession = std::make_unique<HTTPSession>();
    auto ownClient = std::make_unique<APIClient>(*ownSession);
    auto task = ownClient->timeline(server.origin(), key, true);
    ownClient.reset();
    ownSession.reset();
    QCOMPARE(await(std::move(task))->totalOwed, 1.0);
}

QUILLO_TEST(APIClientTest, QCoreApplication)
#include "APIClientTest.moc"
