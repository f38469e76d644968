#include "net/HTTPSession.h"

#include "net/Sending.h"
#include "support/LoopStallProbe.h"
#include "support/ScriptedServer.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QElapsedTimer>
#include <QTest>

#include <zlib.h>

using namespace quillo;
using namespace quillo::test;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;
using Reason = TransportError::Reason;

namespace {

constexpr qint64 mebibyte = 1024 * 1024;

QByteArray gzip(const QByteArray& plain) {
    z_stream stream{};
    constexpr int gzipFormat = 16;
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, MAX_WBITS + gzipFormat, 9,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        qFatal("zlib does not start");
    }
    QByteArray copy = plain;
    QByteArray compressed(static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(plain.size()))),
                          '\0');
    stream.next_in = reinterpret_cast<Bytef*>(copy.data());
    stream.avail_in = static_cast<uInt>(copy.size());
    stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
    stream.avail_out = static_cast<uInt>(compressed.size());
    deflate(&stream, Z_FINISH);
    compressed.truncate(static_cast<qsizetype>(stream.total_out));
    deflateEnd(&stream);
    return compressed;
}

/// Bytes that compress badly.
QByteArray noise(qsizetype size) {
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = 1;
    for (auto& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

QByteArray chunked(const QByteArray& body, qsizetype chunkSize) {
    QByteArray bytes = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (qsizetype start = 0; start < body.size(); start += chunkSize) {
        const QByteArray chunk = body.sliced(start, std::min(chunkSize, body.size() - start));
        bytes += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
    }
    return bytes + "0\r\n\r\n";
}

Answer gzipped(const QByteArray& compressed) {
    return Answer::http(200, compressed, {"Content-Encoding: gzip"});
}

/// An endless body without an announced length.
Answer endless(const QByteArray& headers, const QByteArray& piece) {
    Answer answer;
    answer.bytes = "HTTP/1.1 200 OK\r\n" + headers + "\r\n";
    answer.more = [piece] { return piece; };
    return answer;
}

} // namespace

/// What comes in: framing, compression, bounds and pauses.
class ResponseBodyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void bodiesArriveWhole_data();
    void bodiesArriveWhole();
    void gzipBodiesAreDecompressed_data();
    void gzipBodiesAreDecompressed();
    void aBodyCutShortIsAnError_data();
    void aBodyCutShortIsAnError();
    void aDamagedGzipBodyIsAnError_data();
    void aDamagedGzipBodyIsAnError();
    void aCompressionNotAskedForIsAnError();
    void aBodyOfTheLimitPassesAndOneByteMoreDoesNot_data();
    void aBodyOfTheLimitPassesAndOneByteMoreDoesNot();
    void aBodyAnnouncedTooLargeIsNotRead();
    void anEndlessBodyEndsAtTheLimit();
    void aGzipBombEndsAtTheLimit();
    void theUsualLimitIsSixtyFourMebibytes();
    void theHeadMayComeByteByByte();
    void aSilentServerTimesOut_data();
    void aSilentServerTimesOut();
    void aServerThatDribblesKeepsTheRequestAlive();
    void nothingBlocksTheLoop_data();
    void nothingBlocksTheLoop();

private:
    ScriptedServer server{Answer::silence()};
};

void ResponseBodyTest::bodiesArriveWhole_data() {
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QByteArray>("body");
    const QByteArray large = noise(3 * mebibyte + 17);
    QTest::newRow("empty") << Answer::http(200) << QByteArray();
    QTest::newRow("with a length") << Answer::http(200, large) << large;
    QTest::newRow("chunked") << Answer{.bytes = chunked(large, 10007)} << large;
    QTest::newRow("chunked, empty") << Answer{.bytes = chunked({}, 1)} << QByteArray();
    QTest::newRow("until the connection closes")
        << Answer::andClose("HTTP/1.1 200 OK\r\n\r\n" + large) << large;
    QTest::newRow("bytes of all kinds")
        << Answer::http(200, QByteArray("a\0\r\n\r\n\xFF", 7)) << QByteArray("a\0\r\n\r\n\xFF", 7);
    Answer pieces = Answer::http(200, large.first(3000));
    pieces.pieceSize = 100;
    QTest::newRow("in pieces") << pieces << large.first(3000);
    QTest::newRow("identity") << Answer::http(200, "abc", {"Content-Encoding: identity"})
                              << QByteArray("abc");
}

void ResponseBodyTest::bodiesArriveWhole() {
    QFETCH(const Answer, answer);
    QFETCH(const QByteArray, body);
    server.startOver(answer);
    HTTPSession session;
    const HTTPResponse response = await(session.send(getRequest(server.origin())));
    QCOMPARE(response.status, 200);
    QVERIFY(response.body == body); // QCOMPARE would print megabytes
}

void ResponseBodyTest::gzipBodiesAreDecompressed_data() {
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QByteArray>("body");
    const QByteArray zeros(5 * mebibyte, '\0');
    const QByteArray large = noise(2 * mebibyte);
    QTest::newRow("small") << gzipped(gzip("{}")) << QByteArray("{}");
    QTest::newRow("nothing inside") << gzipped(gzip({})) << QByteArray();
    QTest::newRow("no bytes at all") << gzipped({}) << QByteArray();
    QTest::newRow("no content") << Answer::http(204, {}, {"Content-Encoding: gzip"}) << QByteArray();
    QTest::newRow("compresses well") << gzipped(gzip(zeros)) << zeros;
    QTest::newRow("compresses badly") << gzipped(gzip(large)) << large;
    QTest::newRow("output ends with the buffer") << gzipped(gzip(zeros.first(32768))) << zeros.first(32768);
    QTest::newRow("two members") << gzipped(gzip("ab") + gzip(large)) << "ab" + large;
    QTest::newRow("old name") << Answer::http(200, gzip("ab"), {"Content-Encoding: X-GZIP"})
                              << QByteArray("ab");
    Answer bytewise = gzipped(gzip("a body of some length"));
    bytewise.pieceSize = 1;
    QTest::newRow("byte by byte") << bytewise << QByteArray("a body of some length");
    Answer inChunks{.bytes = chunked(gzip(large), 5000)};
    inChunks.bytes.replace("Transfer-", "Content-Encoding: gzip\r\nTransfer-");
    QTest::newRow("chunked") << inChunks << large;
}

void ResponseBodyTest::gzipBodiesAreDecompressed() {
    QFETCH(const Answer, answer);
    QFETCH(const QByteArray, body);
    server.startOver(answer);
    HTTPSession session;
    const HTTPResponse response = await(session.send(getRequest(server.origin())));
    QCOMPARE(server.requests().at(0).values("Accept-Encoding"), QList<QByteArray>{"gzip"});
    QVERIFY(response.body == body);
}

void ResponseBodyTest::aBodyCutShortIsAnError_data() {
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray whole = Answer::http(200, "0123456789").bytes;
    QTest::newRow("a byte short") << whole.chopped(1);
    QTest::newRow("no body") << whole.chopped(10);
    const QByteArray failed = Answer::http(500, "0123456789").bytes;
    QTest::newRow("failed response") << failed.chopped(1);
    const QByteArray compressed = gzip(noise(5000));
    QTest::newRow("gzip, trailer missing") << gzipped(compressed.chopped(8)).bytes;
    QTest::newRow("gzip, half") << gzipped(compressed.first(2000)).bytes;
    QTest::newRow("gzip, in its header") << gzipped(compressed.first(5)).bytes;
    QTest::newRow("gzip, second member") << gzipped(compressed + compressed.first(100)).bytes;
    QTest::newRow("gzip, until the connection closes")
        << "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + compressed.chopped(1);
}

void ResponseBodyTest::aBodyCutShortIsAnError() {
    QFETCH(const QByteArray, bytes);
    server.startOver(Answer::andClose(bytes));
    HTTPSession session;
    const auto failure = failureOf<TransportError>(session.send(getRequest(server.origin())));
    QVERIFY(failure);
    QCOMPARE(failure->reason(), Reason::interrupted);
    QCOMPARE(failure->errorDescription(),
             u"The answer from 127.0.0.1:%1 was cut short."_s.arg(server.port()));
}

void ResponseBodyTest::aDamagedGzipBodyIsAnError_data() {
    QTest::addColumn<QByteArray>("compressed");
    const QByteArray whole = gzip(noise(5000));
    QByteArray checksum = whole;
    checksum[checksum.size() - 6] = static_cast<char>(~checksum[checksum.size() - 6]);
    QTest::newRow("wrong checksum") << checksum;
    QByteArray flipped = gzip(QByteArray(5000, 'x'));
    flipped[12] = static_cast<char>(~flipped[12]);
    QTest::newRow("flipped bits") << flipped;
    QTest::newRow("no gzip") << QByteArray("{\"items\": []}");
    QTest::newRow("something behind it") << whole + "{}";
    QTest::newRow("zlib format") << qCompress("abc").sliced(4);
}

void ResponseBodyTest::aDamagedGzipBodyIsAnError() {
    QFETCH(const QByteArray, compressed);
    server.startOver(gzipped(compressed));
    HTTPSession session;
    const auto failure = failureOf<TransportError>(session.send(getRequest(server.origin())));
    QVERIFY(failure);
    QCOMPARE(failure->reason(), Reason::damaged);
    QCOMPARE(failure->errorDescription(),
             u"The compressed answer from 127.0.0.1:%1 is damaged."_s.arg(server.port()));
}

void ResponseBodyTest::aCompressionNotAskedForIsAnError() {
    for (const auto* encoding : {"br", "deflate", "zstd", "gzip, gzip"}) {
        server.startOver(Answer::http(200, "abc", {QByteArray("Content-Encoding: ") + encoding}));
        HTTPSession session;
        const auto failure = failureOf<TransportError>(session.send(getRequest(server.origin())));
        QVERIFY(failure);
        QCOMPARE(failure->reason(), Reason::damaged);
    }
}

void ResponseBodyTest::aBodyOfTheLimitPassesAndOneByteMoreDoesNot_data() {
    QTest::addColumn<bool>("passes");
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray body = noise(1001);
    for (const qsizetype size : {1000, 1001}) {
        const bool passes = size == 1000;
        QTest::addRow("with a length, %d", int(size)) << passes << Answer::http(200, body.first(size)).bytes;
        QTest::addRow("chunked, %d", int(size)) << passes << chunked(body.first(size), 300);
        QTest::addRow("gzip, %d", int(size)) << passes << gzipped(gzip(QByteArray(size, 'x'))).bytes;
    }
    QTest::newRow("larger compressed than plain") << false << gzipped(gzip(body.first(1000))).bytes;
}

void ResponseBodyTest::aBodyOfTheLimitPassesAndOneByteMoreDoesNot() {
    QFETCH(const bool, passes);
    QFETCH(const QByteArray, bytes);
    server.startOver(Answer::andClose(bytes));
    HTTPSession session(HTTPSession::Options{.additionalAuthorities = {}, .bodyLimit = 1000});
    const auto failure = failureOf<TransportError>(session.send(getRequest(server.origin())));
    QCOMPARE(failure.has_value(), !passes);
    if (failure) {
        QCOMPARE(failure->reason(), Reason::tooLarge);
        QCOMPARE(failure->errorDescription(),
                 u"The answer from 127.0.0.1:%1 is too large."_s.arg(server.port()));
    }
}

void ResponseBodyTest::aBodyAnnouncedTooLargeIsNotRead() {
    server.startOver(Answer{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 67108865\r\n\r\n"}); // and no body
    HTTPSession session;
    const auto failure = failureOf<TransportError>(session.send(getRequest(server.origin())));
    QVERIFY(failure);
    QCOMPARE(failure->reason(), Reason::tooLarge);
    QVERIFY(waitUntil([this] { return server.openConnections() == 0; }));
}

void ResponseBodyTest::anEndlessBodyEndsAtTheLimit() {
    server.startOver(endless({}, QByteArray(10000, 'x')));
    HTTPSession session(HTTPSession::Options{.additionalAuthorities = {}, .bodyLimit = 2 * mebibyte});
    const auto failure = failureOf<TransportError>(session.send(getRequest(server.origin())));
    QVERIFY(failure);
    QCOMPARE(failure->reason(), Reason::tooLarge);
    QVERIFY(waitUntil([this] { return server.openConnections() == 0; }));
}

void ResponseBodyTest::aGzipBombEndsAtTheLimit() {
    // A thousandth of its size, 256 MiB in all, and so within the limit as sent.
    const QByteArray bomb = gzip(QByteArray(256 * mebibyte, '\0'));
    QVERIFY(bomb.size() < mebibyte);
    server.startOver(gzipped(bomb));
    HTTPSession session;
    LoopStallProbe probe;
    const auto failure = failureOf<TransportError>(session.send(getRequest(server.origin())));
    QVERIFY(failure);
    QCOMPARE(failure->reason(), Reason::tooLarge);
    const auto stall = probe.longestStall();
    QVERIFY2(stall < LoopStallProbe::budget, qPrintable(QString::number(stall.count()) + u" ms"_s));
}

void ResponseBodyTest::theUsualLimitIsSixtyFourMebibytes() {
    QCOMPARE(HTTPSession::Options().bodyLimit, 64 * mebibyte);
}

void ResponseBodyTest::theHeadMayComeByteByByte() {
    Answer answer = Answer::http(200, "body", {"X-Other: value"});
    answer.pieceSize = 1;
    server.startOver(answer);
    HTTPSession session;
    QCOMPARE(await(session.send(getRequest(server.origin()))).body, QByteArray("body"));
    QCOMPARE(await(session.send(postRequest(server.origin(), "x=1"))).body, QByteArray("body"));
}

void ResponseBodyTest::aSilentServerTimesOut_data() {
    QTest::addColumn<QByteArray>("begun");
    QTest::newRow("before the answer") << QByteArray();
    QTest::newRow("in the head") << QByteArray("HTTP/1.1 200 OK\r\nContent-");
    QTest::newRow("after the head") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n");
    QTest::newRow("in the body") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nabc");
    QTest::newRow("in a failed response") << QByteArray("HTTP/1.1 500 No\r\nContent-Length: 9\r\n\r\nabc");
}

void ResponseBodyTest::aSilentServerTimesOut() {
    QFETCH(const QByteArray, begun);
    server.startOver(Answer{.bytes = begun});
    HTTPSession session;
    for (const auto method : {HTTPMethod::get, HTTPMethod::post}) {
        HTTPRequest request = getRequest(server.origin());
        request.method = method;
        request.idleTimeout = 100ms;
        const auto failure = failureOf<TransportError>(session.send(request));
        QVERIFY(failure);
        QCOMPARE(failure->reason(), Reason::timedOut);
        QCOMPARE(failure->errorDescription(), u"The request timed out."_s);
        QVERIFY(waitUntil([this] { return server.openConnections() == 0; }));
    }
    QVERIFY(server.requests().size() <= 2U); // fewer when the time was up before anything was sent
}

void ResponseBodyTest::aServerThatDribblesKeepsTheRequestAlive() {
    // Pauses far below the timeout, and more of them than the timeout holds.
    Answer answer = Answer::http(200, QByteArray(200, 'x'));
    answer.pieceSize = 8;
    answer.between = 50ms;
    server.startOver(answer);
    HTTPSession session;
    HTTPRequest request = getRequest(server.origin());
    request.idleTimeout = 1s;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(await(session.send(request)).body, QByteArray(200, 'x'));
    QVERIFY(timer.elapsed() > request.idleTimeout.count());
}

void ResponseBodyTest::nothingBlocksTheLoop_data() {
    QTest::addColumn<Answer>("answer");
    QTest::newRow("large") << Answer::http(200, QByteArray(60 * mebibyte, 'x'));
    QTest::newRow("large, compressed") << gzipped(gzip(QByteArray(60 * mebibyte, 'x')));
    Answer bytewise = Answer::http(200, "x");
    bytewise.pieceSize = 1;
    QTest::newRow("byte by byte") << bytewise;
}

void ResponseBodyTest::nothingBlocksTheLoop() {
    QFETCH(Answer, answer);
    const QByteArray bytes = answer.bytes;
    if (answer.pieceSize == 0) { // sent bit by bit, for the server's own steps count too
        answer.bytes.truncate(1);
        answer.more = [&bytes, sent = qsizetype{1}]() mutable {
            const QByteArray piece = bytes.sliced(sent, std::min<qsizetype>(65536, bytes.size() - sent));
            sent += piece.size();
            return piece;
        };
    }
    server.startOver(answer);
    HTTPSession session;
    LoopStallProbe probe;
    QCOMPARE(await(session.send(getRequest(server.origin()))).status, 200);
    const auto stall = probe.longestStall();
    QVERIFY2(stall < LoopStallProbe::budget, qPrintable(QString::number(stall.count()) + u" ms"_s));
}

QUILLO_TEST(ResponseBodyTest, QCoreApplication)
#include "ResponseBodyTest.moc"
