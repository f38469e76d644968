#include "net/HTTPSession.h"

#include "net/Sending.h"
#include "support/LoopStallProbe.h"
#include "support/ScriptedServer.h"
#include "support/TestCertificates.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTcpServer>
#include <QTest>
#include <QtEndian>

using namespace quillo;
using namespace quillo::test;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;
using Reason = TransportError::Reason;

namespace {

/// Whether a ClientHello offers to resume an earlier session: with a pre-shared key (RFC 8446,
/// section 4.2.11), or with a session ticket that is not empty (RFC 5077, section 3.2).
bool offersToResume(const QByteArray& hello) {
    constexpr quint16 sessionTicket = 35;
    constexpr quint16 preSharedKey = 41;
    const auto at = [&hello](qsizetype offset) { return static_cast<quint8>(hello.at(offset)); };
    const auto wordAt = [&hello](qsizetype offset) {
        return qFromBigEndian<quint16>(hello.constData() + offset);
    };
    qsizetype offset = 5 + 4 + 2 + 32; // record, handshake, version, random
    offset += 1 + at(offset);          // session id
    offset += 2 + wordAt(offset);      // cipher suites
    offset += 1 + at(offset);          // compression methods
    const qsizetype end = std::min<qsizetype>(hello.size(), offset + 2 + wordAt(offset));
    offset += 2;
    while (offset + 4 <= end) {
        const quint16 type = wordAt(offset);
        const quint16 length = wordAt(offset + 2);
        if (type == preSharedKey || (type == sessionTicket && length > 0)) {
            return true;
        }
        offset += 4 + length;
    }
    return false;
}

} // namespace

/// Who is trusted, and that trust once given away does not spread.
class HTTPSessionTLSTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aCertificateOfATrustedAuthorityPasses();
    void theCheckRefusesWithAReason_data();
    void theCheckRefusesWithAReason();
    void withoutTheCheckEveryCertificatePasses_data() { theCheckRefusesWithAReason_data(); }
    void withoutTheCheckEveryCertificatePasses();
    void anUncheckedRequestOpensNoWayForACheckedOne_data();
    void anUncheckedRequestOpensNoWayForACheckedOne();
    void noRequestResumesTheSessionOfAnother();
    void checkedRequestsAtTheSameTimeShareNothingWithUncheckedOnes();
    void aServerThatSpeaksNoTLSIsAnError_data();
    void aServerThatSpeaksNoTLSIsAnError();
    void aHandshakeThatNeverEndsTimesOut();
    void largeBodiesComeOverTLS();
    void aPostIsSentOnceOverTLS();
    void droppingTheTaskClosesItsConnection();

private:
    [[nodiscard]] ServerIdentity identity(const QByteArray& kind) const;

    TestCertificates certificates;
    HTTPSession session{HTTPSession::Options{.additionalAuthorities = {certificates.authority()}}};
};

ServerIdentity HTTPSessionTLSTest::identity(const QByteArray& kind) const {
    if (kind == "expired") {
        return certificates.expired();
    }
    return kind == "self-signed" ? certificates.selfSigned() : certificates.wrongHost();
}

void HTTPSessionTLSTest::aCertificateOfATrustedAuthorityPasses() {
    ScriptedServer server(Answer::http(200, "ok"), certificates.trusted());
    QCOMPARE(await(session.send(getRequest(server.origin()))).body, QByteArray("ok"));
    QCOMPARE(await(session.send(postRequest(server.origin()))).body, QByteArray("ok"));
    HTTPSession stranger; // which does not know the authority
    const auto failure = failureOf<TransportError>(stranger.send(getRequest(server.origin())));
    QVERIFY(failure);
    QCOMPARE(failure->errorDescription(),
             u"The certificate of 127.0.0.1:%1 is not trusted: its issuer is unknown."_s.arg(server.port()));
    QCOMPARE(server.requests().size(), 2U);
}

void HTTPSessionTLSTest::theCheckRefusesWithAReason_data() {
    QTest::addColumn<QString>("reason");
    QTest::newRow("self-signed") << u"it is self-signed"_s;
    QTest::newRow("expired") << u"it has expired"_s;
    QTest::newRow("wrong host") << u"it is for another server"_s;
}

void HTTPSessionTLSTest::theCheckRefusesWithAReason() {
    QFETCH(const QString, reason);
    ScriptedServer server(Answer::http(200), identity(QTest::currentDataTag()));
    HTTPRequest request = getRequest(server.origin());
    request.setHeader("Authorization", "Bearer secret");
    for (const auto method : {HTTPMethod::get, HTTPMethod::post}) {
        request.method = method;
        const auto failure = failureOf<TransportError>(session.send(request));
        QVERIFY(failure);
        QCOMPARE(failure->reason(), Reason::untrusted);
        QCOMPARE(failure->errorDescription(),
                 u"The certificate of 127.0.0.1:%1 is not trusted: %2."_s.arg(server.port()).arg(reason));
    }
    drainEvents();
    QCOMPARE(server.receivedBytes(), 0);
}

void HTTPSessionTLSTest::withoutTheCheckEveryCertificatePasses() {
    ScriptedServer server(Answer::http(200, "ok"), identity(QTest::currentDataTag()));
    for (const auto method : {HTTPMethod::get, HTTPMethod::post}) {
        HTTPRequest request = getRequest(server.origin());
        request.method = method;
        request.certificateCheck = CertificateCheck::none;
        QCOMPARE(await(session.send(request)).body, QByteArray("ok"));
    }
}

void HTTPSessionTLSTest::anUncheckedRequestOpensNoWayForACheckedOne_data() {
    QTest::addColumn<QList<bool>>("order");
    QTest::newRow("unchecked, checked") << QList<bool>{false, true};
    QTest::newRow("checked, unchecked") << QList<bool>{true, false};
    QTest::newRow("in turns") << QList<bool>{false, true, false, true, true, false};
}

void HTTPSessionTLSTest::anUncheckedRequestOpensNoWayForACheckedOne() {
    QFETCH(const QList<bool>, order);
    ScriptedServer server(Answer::http(200), certificates.selfSigned());
    std::size_t answered = 0;
    for (const bool checked : order) {
        HTTPRequest request = getRequest(server.origin());
        request.certificateCheck = checked ? CertificateCheck::required : CertificateCheck::none;
        const auto failure = failureOf<TransportError>(session.send(request));
        QCOMPARE(failure.has_value(), checked);
        answered += checked ? 0 : 1;
        QCOMPARE(server.requests().size(), answered);
    }
    QCOMPARE(server.acceptedConnections(), order.size());
}

void HTTPSessionTLSTest::noRequestResumesTheSessionOfAnother() {
    ServerIdentity identity = certificates.trusted();
    identity.protocol = QSsl::TlsV1_2; // with 1.3 Qt resumes nothing anyway
    ScriptedServer server(
        [](const ReceivedRequest& request) {
            Answer answer = Answer::http(200);
            answer.then = Answer::Then::close;
            return request.target == "/slow" ? Answer::silence() : answer;
        },
        identity);
    const auto sendOne = [&](CertificateCheck check) {
        HTTPRequest request = getRequest(server.origin());
        request.certificateCheck = check;
        return await(session.send(request)).status;
    };
    QCOMPARE(sendOne(CertificateCheck::none), 200);
    QCOMPARE(sendOne(CertificateCheck::none), 200);
    const auto slow = session.send(getRequest(server.origin() + u"/slow"_s)); // checked
    QVERIFY(waitUntil([&server] { return server.requests().size() == 3; }));
    QCOMPARE(sendOne(CertificateCheck::required), 200);
    QCOMPARE(sendOne(CertificateCheck::none), 200);
    QList<bool> resuming;
    for (const auto& hello : server.clientHellos()) {
        resuming.append(offersToResume(hello));
    }
    QCOMPARE(resuming, QList<bool>(5, false));
}

void HTTPSessionTLSTest::checkedRequestsAtTheSameTimeShareNothingWithUncheckedOnes() {
    ScriptedServer server(
        [](const ReceivedRequest& request) {
            return request.target == "/slow" ? Answer::silence() : Answer::http(200);
        },
        certificates.selfSigned());
    HTTPRequest slow = getRequest(server.origin() + u"/slow"_s);
    slow.certificateCheck = CertificateCheck::none;
    const auto running = session.send(slow);
    HTTPRequest quick = getRequest(server.origin());
    quick.certificateCheck = CertificateCheck::none;
    QCOMPARE(await(session.send(quick)).status, 200);
    const auto failure = failureOf<TransportError>(session.send(getRequest(server.origin())));
    QVERIFY(failure);
    QCOMPARE(failure->reason(), Reason::untrusted);
    QCOMPARE(server.acceptedConnections(), 3);
}

void HTTPSessionTLSTest::aServerThatSpeaksNoTLSIsAnError_data() {
    QTest::addColumn<bool>("checked");
    QTest::newRow("checked") << true;
    QTest::newRow("unchecked") << false;
}

void HTTPSessionTLSTest::aServerThatSpeaksNoTLSIsAnError() {
    QFETCH(const bool, checked);
    QTcpServer server; // answers a ClientHello in plain text, as a web server on the wrong port does
    QVERIFY(server.listen(QHostAddress::LocalHost));
    connect(&server, &QTcpServer::newConnection, &server, [&server] {
        auto* socket = server.nextPendingConnection();
        socket->write("HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n");
    });
    HTTPRequest request = getRequest(u"https://127.0.0.1:%1/"_s.arg(server.serverPort()));
    request.certificateCheck = checked ? CertificateCheck::required : CertificateCheck::none;
    const auto failure = failureOf<TransportError>(session.send(request));
    QVERIFY(failure);
    QCOMPARE(failure->reason(), Reason::untrusted);
    QCOMPARE(failure->errorDescription(),
             u"No secure connection to 127.0.0.1:%1 could be made."_s.arg(server.serverPort()));
}

void HTTPSessionTLSTest::aHandshakeThatNeverEndsTimesOut() {
    ScriptedServer server(Answer::silence()); // takes the ClientHello for the beginning of a request
    HTTPRequest request = getRequest(u"https://127.0.0.1:%1/"_s.arg(server.port()));
    request.idleTimeout = 100ms;
    const auto failure = failureOf<TransportError>(session.send(request));
    QVERIFY(failure);
    QCOMPARE(failure->reason(), Reason::timedOut);
    QVERIFY(waitUntil([&server] { return server.openConnections() == 0; }));
}

void HTTPSessionTLSTest::largeBodiesComeOverTLS() {
    const QByteArray body(8 * 1024 * 1024, 'x');
    ScriptedServer server(Answer::http(200, body), certificates.trusted());
    QVERIFY(await(session.send(getRequest(server.origin()))).body == body);
}

void HTTPSessionTLSTest::aPostIsSentOnceOverTLS() {
    ScriptedServer server(Answer::andClose({}), certificates.trusted());
    const auto failure = failureOf<TransportError>(session.send(postRequest(server.origin(), "a=b")));
    QVERIFY(failure);
    QCOMPARE(failure->reason(), Reason::interrupted);
    drainEvents();
    QCOMPARE(server.requests().size(), 1U);
    QCOMPARE(server.acceptedConnections(), 1);
}

void HTTPSessionTLSTest::droppingTheTaskClosesItsConnection() {
    ScriptedServer server(Answer::silence(), certificates.trusted());
    LoopStallProbe probe;
    for (const auto check : {CertificateCheck::required, CertificateCheck::none}) {
        const auto before = server.requests().size();
        HTTPRequest request = getRequest(server.origin());
        request.certificateCheck = check;
        auto task = session.send(request);
        QVERIFY(waitUntil([&server, before] { return server.requests().size() > before; }));
        task.cancel();
        QVERIFY(waitUntil([&server] { return server.openConnections() == 0; }));
        const int accepted = server.acceptedConnections();
        auto inHandshake = session.send(request);
        QVERIFY(waitUntil([&server, accepted] { return server.acceptedConnections() > accepted; }));
        inHandshake.cancel();
        QVERIFY(waitUntil([&server] { return server.openConnections() == 0; }));
    }
    const auto stall = probe.longestStall();
    QVERIFY2(stall < LoopStallProbe::budget, qPrintable(QString::number(stall.count()) + u" ms"_s));
}

QUILLO_TEST(HTTPSessionTLSTest, QCoreApplication)
#include "HTTPSessionTLSTest.moc"
