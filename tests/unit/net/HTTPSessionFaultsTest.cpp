#include "net/APIClient.h"
#include "net/HTTPSession.h"
#include "net/Sending.h"
#include "support/LoopStallProbe.h"
#include "support/ProcessResources.h"
#include "support/ScriptedServer.h"
#include "support/TestCertificates.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;
using Reason = TransportError::Reason;

namespace {

const APIAuth key = APIAuth::apiKey(u"k-123"_s);

/// `begin`, then `piece` for as long as anybody reads.
Answer endless(const QByteArray& begin, const QByteArray& piece) {
    Answer answer;
    answer.bytes = begin;
    answer.more = [piece] { return piece; };
    return answer;
}

Answer withHead(const QByteArray& head, const QByteArray& body) {
    return Answer{.bytes = "HTTP/1.1 " + head + "\r\n\r\n" + body, .then = Answer::Then::close};
}

} // namespace

/// Servers that misbehave, and statuses that count before what comes with them.
class HTTPSessionFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aHeadThatNeverEndsFreezesNothingAndEnds_data();
    void aHeadThatNeverEndsFreezesNothingAndEnds();
    void aHeadOfSixtyFourKibibytesIsRead();
    void interimResponsesAreNotTheAnswer_data();
    void interimResponsesAreNotTheAnswer();
    void aRefusalIsKnownBeforeItsBodyHasCome_data();
    void aRefusalIsKnownBeforeItsBodyHasCome();
    void theStatusCountsBeforeTheBody_data();
    void theStatusCountsBeforeTheBody();
    void aPullSucceedsWhateverItsBodyIs_data();
    void aPullSucceedsWhateverItsBodyIs();
    void ofARefusalSixtyFourKibibytesAreRead();
    void theBodyOfARefusalThatCannotBeDecodedIsNone_data();
    void theBodyOfARefusalThatCannotBeDecodedIsNone();
    void whatIsNoHTTPIsAnError_data();
    void whatIsNoHTTPIsAnError();
    void aServerThatDripsForEverTimesOutInTheEnd();
    void uncheckedRequestsLeaveNoThreadAndNoDescriptorBehind();
    void aBodyThatIsAnnouncedTakesNoRoomBeforeItComes();

private:
    ScriptedServer server{Answer::silence()};
    ScriptedServer secureServer{Answer::silence(), TestCertificates().selfSigned()};
    HTTPSession session;
    APIClient client{session};
};

void HTTPSessionFaultsTest::aHeadThatNeverEndsFreezesNothingAndEnds_data() {
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<bool>("secure");
    const QByteArray begin = "HTTP/1.1 200 OK\r\n";
    for (const bool secure : {false, true}) {
        const auto* scheme = secure ? "https, unchecked" : "http";
        QTest::addRow("one long line, %s", scheme) << endless(begin + "X: ", QByteArray(999, 'x')) << secure;
        QTest::addRow("a long status line, %s", scheme)
            << endless("HTTP/1.1 200 ", QByteArray(999, 'x')) << secure;
        QTest::addRow("many fields, %s", scheme)
            << endless(begin, QByteArray("X-Field: value\r\n").repeated(50)) << secure;
        QTest::addRow("endless 100 Continue, %s", scheme)
            << endless("HTTP/1.1 100 Continue\r\n\r\n",
                       QByteArray("HTTP/1.1 100 Continue\r\n\r\n").repeated(50))
            << secure;
        QTest::addRow("an endless chunk extension, %s", scheme)
            << endless(begin + "Transfer-Encoding: chunked\r\n\r\n5;x=", QByteArray(999, 'x')) << secure;
        QTest::addRow("an endless trailer, %s", scheme)
            << endless(begin + "Transfer-Encoding: chunked\r\n\r\n0\r\n", "X-Field: value\r\n") << secure;
    }
}

void HTTPSessionFaultsTest::aHeadThatNeverEndsFreezesNothingAndEnds() {
    QFETCH(const Answer, answer);
    QFETCH(const bool, secure);
    ScriptedServer& asked = secure ? secureServer : server;
    asked.startOver(answer);
    const auto before = ProcessResources::now();
    HTTPRequest request = getRequest(asked.origin());
    request.certificateCheck = CertificateCheck::none;
    LoopStallProbe probe;
    const auto failure = failureOf<TransportError>(session.send(request));
    const auto stall = probe.longestStall();
    QVERIFY2(stall < LoopStallProbe::budget, qPrintable(QString::number(stall.count()) + u" ms"_s));
    QVERIFY(failure);
    QCOMPARE(failure->reason(), Reason::tooLarge);
    QVERIFY(waitUntil([&asked] { return asked.openConnections() == 0; }));
    QVERIFY(waitUntil([&before] { return ProcessResources::now().threads <= before.threads; }));
}

void HTTPSessionFaultsTest::aHeadOfSixtyFourKibibytesIsRead() {
    const QByteArray head = "200 OK\r\nContent-Length: 2\r\nX: " + QByteArray(65'000, 'x');
    server.startOver(withHead(head, "ok"));
    QCOMPARE(await(session.send(getRequest(server.origin()))).body, QByteArray("ok"));
}

void HTTPSessionFaultsTest::interimResponsesAreNotTheAnswer_data() {
    QTest::addColumn<QByteArray>("interim");
    QTest::newRow("100") << QByteArray("HTTP/1.1 100 Continue\r\n\r\n");
    QTest::newRow("102") << QByteArray("HTTP/1.1 102 Processing\r\n\r\n");
    QTest::newRow("103") << QByteArray("HTTP/1.1 103 Early Hints\r\nLink: </a>\r\nContent-Length: 5\r\n\r\n");
    QTest::newRow("all three") << QByteArray(
        "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 102 x\r\n\r\nHTTP/1.1 103 x\r\n\r\n");
}

void HTTPSessionFaultsTest::interimResponsesAreNotTheAnswer() {
    QFETCH(const QByteArray, interim);
    for (const qsizetype pieceSize : {0, 1}) {
        server.startOver(Answer{.bytes = interim + Answer::http(200, "body").bytes, .pieceSize = pieceSize});
        const HTTPResponse response = await(session.send(getRequest(server.origin())));
        QCOMPARE(response.status, 200);
        QCOMPARE(response.body, QByteArray("body"));
    }
}

void HTTPSessionFaultsTest::aRefusalIsKnownBeforeItsBodyHasCome_data() {
    QTest::addColumn<int>("status");
    for (const int status : {401, 407, 500}) {
        QTest::addRow("%d", status) << status;
    }
}

void HTTPSessionFaultsTest::aRefusalIsKnownBeforeItsBodyHasCome() {
    QFETCH(const int, status);
    // Announces 500 MB and sends nothing of them.
    server.startOver(Answer{.bytes = "HTTP/1.1 " + QByteArray::number(status) +
                                     " No\r\nContent-Length: 500000000\r\n\r\n"});
    const auto failure = failureOf<APIError>(client.status(server.origin(), key, true));
    QVERIFY(failure);
    QCOMPARE(failure->errorDescription(),
             status == 401 ? u"Sign-in rejected (401)"_s : u"HTTP %1"_s.arg(status));
    QVERIFY(waitUntil([this] { return server.openConnections() == 0; }));
}

void HTTPSessionFaultsTest::theStatusCountsBeforeTheBody_data() {
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QString>("text");
    QTest::newRow("503 in an unknown encoding")
        << withHead("503 No\r\nContent-Encoding: br\r\nContent-Length: 3", "abc") << u"HTTP 503"_s;
    QTest::newRow("500 in damaged gzip")
        << withHead("500 No\r\nContent-Encoding: gzip\r\nContent-Length: 3", "abc") << u"HTTP 500"_s;
    QTest::newRow("302 with an endless body")
        << endless("HTTP/1.1 302 Found\r\nLocation: /x\r\n\r\n", QByteArray(9999, 'x')) << u"HTTP 302"_s;
    QTest::newRow("404 with a bad chunk size")
        << withHead("404 No\r\nTransfer-Encoding: chunked", "zz\r\n") << u"HTTP 404"_s;
    QTest::newRow("500 cut short") << withHead("500 No\r\nContent-Length: 10", "abc") << u"HTTP 500"_s;
}

void HTTPSessionFaultsTest::theStatusCountsBeforeTheBody() {
    QFETCH(const Answer, answer);
    QFETCH(const QString, text);
    server.startOver(answer);
    const auto failure = failureOf<APIError>(client.timeline(server.origin(), key, true));
    QVERIFY(failure);
    QCOMPARE(failure->errorDescription(), text);
}

void HTTPSessionFaultsTest::aPullSucceedsWhateverItsBodyIs_data() {
    QTest::addColumn<Answer>("answer");
    QTest::newRow("unknown encoding") << withHead("200 OK\r\nContent-Encoding: br", "abc");
    QTest::newRow("damaged gzip") << withHead("200 OK\r\nContent-Encoding: gzip", "abc");
    QTest::newRow("bad chunk size") << withHead("200 OK\r\nTransfer-Encoding: chunked", "zz\r\n");
    QTest::newRow("too large") << withHead("200 OK\r\nContent-Length: 99999999999", "abc");
    QTest::newRow("cut short") << withHead("200 OK\r\nContent-Length: 10", "abc");
    QTest::newRow("never sent") << Answer{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n"};
    QTest::newRow("endless") << endless("HTTP/1.1 200 OK\r\n\r\n", QByteArray(9999, 'x'));
}

void HTTPSessionFaultsTest::aPullSucceedsWhateverItsBodyIs() {
    QFETCH(const Answer, answer);
    server.startOver(answer);
    await(client.refreshFromBank(server.origin(), key, true));
    await(client.sync(server.origin(), key, true));
    QCOMPARE(server.requests().size(), 2U);
    QVERIFY(waitUntil([this] { return server.openConnections() == 0; }));
}

void HTTPSessionFaultsTest::ofARefusalSixtyFourKibibytesAreRead() {
    const QByteArray text = "why: " + QByteArray("\xC3\xA9").repeated(500'000);
    server.startOver(Answer::http(400, text));
    const HTTPResponse response = await(session.send(postRequest(server.origin())));
    QCOMPARE(response.status, 400);
    QVERIFY(response.body.size() <= 65'536);
    QVERIFY(response.body.size() > 0);
    QVERIFY(text.startsWith(response.body));
    QVERIFY(
        !QString::fromUtf8(response.body).contains(QChar::ReplacementCharacter)); // not cut in a character
    server.startOver(endless("HTTP/1.1 400 No\r\n\r\n", QByteArray(9999, 'x')));
    QCOMPARE(await(session.send(postRequest(server.origin()))).body, QByteArray(65'536, 'x'));
    QVERIFY(waitUntil([this] { return server.openConnections() == 0; }));
}

void HTTPSessionFaultsTest::theBodyOfARefusalThatCannotBeDecodedIsNone_data() {
    QTest::addColumn<Answer>("answer");
    QTest::newRow("unknown encoding") << withHead("400 No\r\nContent-Encoding: br", "abc");
    QTest::newRow("damaged gzip") << withHead("400 No\r\nContent-Encoding: gzip", "abc");
    QTest::newRow("gzip cut short") << withHead("400 No\r\nContent-Encoding: gzip", "\x1F\x8B\x08");
    QTest::newRow("unknown transfer") << withHead("400 No\r\nTransfer-Encoding: gzip, chunked", "abc");
}

void HTTPSessionFaultsTest::theBodyOfARefusalThatCannotBeDecodedIsNone() {
    QFETCH(const Answer, answer);
    server.startOver(answer);
    const HTTPResponse response = await(session.send(postRequest(server.origin())));
    QCOMPARE(response.status, 400);
    QCOMPARE(response.body, QByteArray());
}

void HTTPSessionFaultsTest::whatIsNoHTTPIsAnError_data() {
    QTest::addColumn<Answer>("answer");
    const QByteArray chunked = "200 OK\r\nTransfer-Encoding: chunked";
    QTest::newRow("no HTTP") << Answer::andClose("hello\r\n\r\n");
    QTest::newRow("bytes of all kinds") << Answer::andClose(QByteArray("\0\1\2\xFF\r\n\r\n", 8));
    QTest::newRow("version that is none") << Answer::andClose("HTTP/3.7 200 OK\r\n\r\n");
    QTest::newRow("status that is none") << Answer::andClose("HTTP/1.1 2x0 OK\r\n\r\n");
    QTest::newRow("chunk size that is none") << withHead(chunked, "zz\r\nabc\r\n0\r\n\r\n");
    QTest::newRow("chunk size beyond 64 bits") << withHead(chunked, "11111111111111111\r\nabc\r\n0\r\n\r\n");
    QTest::newRow("chunk longer than its size") << withHead(chunked, "2\r\nabc\r\n0\r\n\r\n");
    QTest::newRow("negative length") << withHead("200 OK\r\nContent-Length: -1", "abc");
    QTest::newRow("lengths that differ")
        << withHead("200 OK\r\nContent-Length: 3\r\nContent-Length: 4", "abcd");
    QTest::newRow("length and chunks")
        << withHead(chunked + "\r\nContent-Length: 3", "3\r\nabc\r\n0\r\n\r\n");
}

void HTTPSessionFaultsTest::whatIsNoHTTPIsAnError() {
    QFETCH(const Answer, answer);
    server.startOver(answer);
    const auto failure = failureOf<TransportError>(session.send(getRequest(server.origin())));
    QVERIFY(failure);
    QCOMPARE(failure->errorDescription(),
             u"The answer from 127.0.0.1:%1 is not valid HTTP."_s.arg(server.port()));
    QCOMPARE(failure->reason(), Reason::damaged);
}

void HTTPSessionFaultsTest::aServerThatDripsForEverTimesOutInTheEnd() {
    Answer answer = Answer::http(200, QByteArray(100'000, 'x'));
    answer.pieceSize = 1;
    answer.between = 5ms;
    server.startOver(answer);
    HTTPSession impatient(HTTPSession::Options{.totalTimeout = 200ms});
    const auto failure = failureOf<TransportError>(impatient.send(getRequest(server.origin())));
    QVERIFY(failure);
    QCOMPARE(failure->errorDescription(), u"The request timed out."_s);
    QVERIFY(waitUntil([this] { return server.openConnections() == 0; }));
    QCOMPARE(HTTPSession::Options().totalTimeout, 10min);
}

void HTTPSessionFaultsTest::uncheckedRequestsLeaveNoThreadAndNoDescriptorBehind() {
    secureServer.startOver(Answer::http(200));
    const auto sendOne = [this] {
        HTTPRequest request = getRequest(secureServer.origin());
        request.certificateCheck = CertificateCheck::none;
        await(session.send(request));
    };
    sendOne();
    QVERIFY(waitUntil([this] { return secureServer.openConnections() == 0; }));
    const auto before = ProcessResources::now();
    for (int round = 0; round < 30; ++round) {
        sendOne();
    }
    QVERIFY(waitUntil([&before] {
        const auto now = ProcessResources::now();
        return now.threads <= before.threads && now.descriptors <= before.descriptors;
    }));
}

void HTTPSessionFaultsTest::aBodyThatIsAnnouncedTakesNoRoomBeforeItComes() {
    server.startOver(Answer{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 60000000\r\n\r\nx"});
    const auto before = ProcessResources::now();
    std::vector<Task<HTTPResponse>> tasks;
    for (int count = 0; count < 6; ++count) {
        tasks.push_back(session.send(getRequest(server.origin())));
    }
    QVERIFY(waitUntil([this] { return server.requests().size() == 6; }));
    drainEvents();
    QVERIFY(ProcessResources::now().residentKiB - before.residentKiB < 20'000);
}

QUILLO_TEST(HTTPSessionFaultsTest, QCoreApplication)
#include "HTTPSessionFaultsTest.moc"
