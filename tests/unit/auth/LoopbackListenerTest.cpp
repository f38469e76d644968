#include "auth/LoopbackListener.h"
#include "auth/AuthError.h"
#include "support/Wait.h"

#include <QHostAddress>
#include <QNetworkInterface>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <cerrno>
#include <deque>

#include <arpa/inet.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray redirect = "GET /callback?code=abc&state=xyz HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";

/// A port that was free a moment ago.
quint16 freePort() {
    QTcpServer server;
    if (!server.listen(QHostAddress::LocalHost)) {
        qFatal("no port");
    }
    return server.serverPort();
}

std::unique_ptr<QTcpSocket> connectTo(quint16 port) {
    auto socket = std::make_unique<QTcpSocket>();
    socket->connectToHost(QHostAddress::LocalHost, port);
    if (!waitUntil([&] { return socket->state() == QAbstractSocket::ConnectedState; })) {
        return nullptr;
    }
    return socket;
}

QByteArray pageOf(QTcpSocket& socket) {
    static_cast<void>(waitUntil([&] { return socket.state() == QAbstractSocket::UnconnectedState; }));
    return socket.readAll();
}

/// A client of the system's own calls, which show what Qt's sockets hide: a half that is closed, a connection
/// that was reset.
class PlainClient {
public:
    explicit PlainClient(quint16 port) : descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        isConnected = ::connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    PlainClient(const PlainClient&) = delete;
    PlainClient& operator=(const PlainClient&) = delete;
    ~PlainClient() { ::close(descriptor); }

    /// Sends all of it, in the event loop; false when the other side does not stay for it.
    [[nodiscard]] bool send(QByteArrayView bytes) const {
        static_cast<void>(waitUntil([&] {
            const auto count = ::send(descriptor, bytes.data(), static_cast<std::size_t>(bytes.size()),
                                      MSG_DONTWAIT | MSG_NOSIGNAL);
            bytes = bytes.sliced(std::max<qsizetype>(count, 0));
            return bytes.isEmpty() || (count < 0 && errno != EAGAIN);
        }));
        return isConnected && bytes.isEmpty();
    }
    void closeSendingHalf() const { ::shutdown(descriptor, SHUT_WR); }

    /// What came until the other side ended the connection in order; "reset" when it did not.
    [[nodiscard]] QByteArray received() const {
        QByteArray all;
        QByteArray piece(4096, Qt::Uninitialized);
        ssize_t count = 0;
        static_cast<void>(waitUntil([&] {
            while ((count = ::recv(descriptor, piece.data(), 4096, MSG_DONTWAIT)) > 0) {
                all += piece.first(count);
            }
            return count == 0 || errno != EAGAIN;
        }));
        return count == 0 ? all : QByteArray("reset");
    }

private:
    int descriptor;
    bool isConnected = false;
};

/// While it lives the process gets no further descriptor.
class NoDescriptorsLeft {
public:
    NoDescriptorsLeft() {
        getrlimit(RLIMIT_NOFILE, &before);
        constexpr rlim_t few = 256;
        const rlimit scarce{few, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &scarce);
        for (int taken = dup(STDIN_FILENO); taken >= 0; taken = dup(STDIN_FILENO)) {
            all.push_back(taken);
        }
    }
    NoDescriptorsLeft(const NoDescriptorsLeft&) = delete;
    NoDescriptorsLeft& operator=(const NoDescriptorsLeft&) = delete;
    ~NoDescriptorsLeft() {
        for (const int taken : all) {
            ::close(taken);
        }
        setrlimit(RLIMIT_NOFILE, &before);
    }

private:
    rlimit before{};
    std::vector<int> all;
};

/// What the wait ended with: the code, or the error's text.
QString outcome(Task<LoopbackCallback> waiting) {
    try {
        return await(std::move(waiting)).code;
    } catch (const LocalizedError& error) {
        return error.errorDescription();
    }
}

const QString malformed = u"Sign-in callback was malformed"_s;

} // namespace

class LoopbackListenerTest : public QObject {
    Q_OBJECT

private:
    quint16 port = 0;
    std::unique_ptr<LoopbackListener> listener;

private Q_SLOTS:
    void init() {
        port = freePort();
        listener = std::make_unique<LoopbackListener>();
        QVERIFY(listener->listen(port));
    }
    void cleanup() { listener.reset(); }

    void theRedirectEndsTheWaitAndTheBrowserSeesThePage() {
        auto waiting = listener->waitForCallback();
        const auto browser = connectTo(port);
        browser->write(redirect);
        const auto callback = await(std::move(waiting));
        QCOMPARE(callback.code, u"abc"_s);
        QCOMPARE(callback.state, u"xyz"_s);
        QCOMPARE(pageOf(*browser), callbackResponse(true));
    }

    void anythingElseEndsTheWaitWithTheFailurePage_data() {
        QTest::addColumn<QByteArray>("request");
        QTest::newRow("no query") << QByteArray("GET /callback HTTP/1.1\r\n\r\n");
        QTest::newRow("cancelled") << QByteArray(
            "GET /callback?error=access_denied&state=x HTTP/1.1\r\n\r\n");
        QTest::newRow("NUL bytes") << QByteArray(50, '\0') + "\r\n";
        QTest::newRow("invalid UTF-8") << QByteArray("GET /?code=\xff&state=b HTTP/1.1\r\n\r\n");
        QTest::newRow("16,384 bytes without a line end") << QByteArray(16'384, 'x');
        QTest::newRow("more than that") << QByteArray(100'000, 'x');
        QTest::newRow("TLS") << QByteArray("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n", 13);
    }
    void anythingElseEndsTheWaitWithTheFailurePage() {
        QFETCH(QByteArray, request);
        auto waiting = listener->waitForCallback();
        const auto client = connectTo(port);
        client->write(request);
        QCOMPARE(outcome(std::move(waiting)), malformed);
        QCOMPARE(pageOf(*client), callbackResponse(false));
    }

    void silentConnectionsDoNotEndTheWait() {
        auto waiting = listener->waitForCallback();
        std::vector<std::unique_ptr<QTcpSocket>> silent;
        for (int count = 0; count < 20; ++count) {
            silent.push_back(connectTo(port));
        }
        const auto closedUnsaid = connectTo(port);
        closedUnsaid->disconnectFromHost();
        const auto browser = connectTo(port);
        browser->write(redirect);
        QCOMPARE(outcome(std::move(waiting)), u"abc"_s);
    }

    void aThousandSilentConnectionsDoNotEndTheWait() {
        auto waiting = listener->waitForCallback();
        std::deque<std::unique_ptr<QTcpSocket>> silent;
        for (int count = 0; count < 1000; ++count) {
            silent.push_back(connectTo(port));
            QVERIFY(silent.back());
            if (silent.size() > 300) {
                silent.pop_front(); // the test's own process has no more descriptors to give
            }
        }
        const auto browser = connectTo(port);
        QVERIFY(browser);
        browser->write(redirect);
        QCOMPARE(outcome(std::move(waiting)), u"abc"_s);
    }

    void aRequestMayArriveInPieces() {
        auto waiting = listener->waitForCallback();
        const auto browser = connectTo(port);
        for (const char byte : redirect) {
            browser->write(&byte, 1);
            browser->flush();
        }
        QCOMPARE(outcome(std::move(waiting)), u"abc"_s);
        QCOMPARE(pageOf(*browser), callbackResponse(true));
    }

    void aRequestWithoutALineEndIsTakenAtTheEndOfTheConnection() {
        auto waiting = listener->waitForCallback();
        const auto client = connectTo(port);
        client->write("GET /?code=abc&state=xyz");
        client->disconnectFromHost();
        QCOMPARE(outcome(std::move(waiting)), u"abc"_s);
    }

    void aRequestWithoutALineEndThatEndsWithAHalfCloseGetsItsPage() {
        auto waiting = listener->waitForCallback();
        const PlainClient client(port);
        QVERIFY(client.send("GET /?code=abc&state=xyz"));
        client.closeSendingHalf();
        QCOMPARE(outcome(std::move(waiting)), u"abc"_s);
        QCOMPARE(client.received(), callbackResponse(true));
    }

    void aRequestOfMoreThanCountsGetsItsPageWithoutAReset() {
        auto waiting = listener->waitForCallback();
        const PlainClient client(port);
        QVERIFY(client.send(QByteArray(2'000'000, 'x')));
        client.closeSendingHalf();
        QCOMPARE(client.received(), callbackResponse(false));
        QCOMPARE(outcome(std::move(waiting)), malformed);
    }

    void aRequestWithoutEndIsCutOff() {
        auto waiting = listener->waitForCallback();
        const PlainClient client(port);
        QVERIFY(!client.send(QByteArray(60'000'000, 'x')));
        QCOMPARE(outcome(std::move(waiting)), malformed);
    }

    void aListenerThatCannotAcceptEndsTheWaitWithTheSystemsText() {
        auto waiting = listener->waitForCallback();
        const auto client = std::make_unique<QTcpSocket>();
        client->connectToHost(QHostAddress::LocalHost, port); // its descriptor is there already
        const NoDescriptorsLeft scarcity;
        QCOMPARE(outcome(std::move(waiting)), u"Out of resources"_s);
    }

    void aRequestThatNeverEndsIsTakenAfterAWhile() {
        auto waiting = listener->waitForCallback();
        const auto client = connectTo(port);
        client->write("GET /callback");
        QCOMPARE(outcome(std::move(waiting)), malformed);
        QCOMPARE(pageOf(*client), callbackResponse(false));
    }

    void aConnectionAcceptedBeforeIsStillAnsweredButChangesNothing() {
        auto waiting = listener->waitForCallback();
        const auto early = connectTo(port);
        const auto browser = connectTo(port);
        browser->write(redirect);
        const auto callback = await(std::move(waiting));
        QCOMPARE(callback.code, u"abc"_s);
        early->write("GET /?code=other&state=other HTTP/1.1\r\n\r\n");
        QCOMPARE(pageOf(*early), callbackResponse(true));
    }

    void aConnectionAcceptedBeforeANewSignInStartsStillGetsItsPageAndDecidesNothing() {
        auto waiting = listener->waitForCallback();
        const auto early = connectTo(port);
        const auto browser = connectTo(port);
        browser->write("GET /callback?error=access_denied HTTP/1.1\r\n\r\n");
        QCOMPARE(outcome(std::move(waiting)), malformed);
        QVERIFY(listener->listen(port));
        auto waitingAnew = listener->waitForCallback();
        early->write("GET /?code=other&state=other HTTP/1.1\r\n\r\n");
        QCOMPARE(pageOf(*early), callbackResponse(true));
        QVERIFY(!waitingAnew.isFinished());
        const auto secondBrowser = connectTo(port);
        secondBrowser->write(redirect);
        QCOMPARE(outcome(std::move(waitingAnew)), u"abc"_s);
    }

    void aBrowserThatDoesNotStayForThePageStillEndsTheWait() {
        auto waiting = listener->waitForCallback();
        const auto browser = connectTo(port);
        browser->write(redirect);
        browser->flush();
        browser->abort();
        QVERIFY(waitUntil([&] { return waiting.isFinished(); }));
    }

    void thePortIsFreeOnceTheRedirectIsAnswered() {
        auto waiting = listener->waitForCallback();
        const auto browser = connectTo(port);
        browser->write(redirect);
        await(std::move(waiting));
        QVERIFY(waitUntil([&] { return LoopbackListener().listen(port); }));
    }

    void thePortIsFreeAndConnectionsEndAtOnceWhenTheListenerIsClosed() {
        auto waiting = listener->waitForCallback();
        const auto client = connectTo(port);
        waiting.cancel();
        listener->close();
        QVERIFY(LoopbackListener().listen(port));
        QVERIFY(waitUntil([&] { return client->state() == QAbstractSocket::UnconnectedState; }));
    }

    void aDroppedListenerNeverResumesTheWait() {
        auto waiting = listener->waitForCallback();
        listener.reset();
        drainEvents();
        QVERIFY(!waiting.isFinished());
    }

    void aTakenPortCannotBeListenedOn() { QVERIFY(!LoopbackListener().listen(port)); }

    void onlyTheLoopbackInterfaceIsListenedOn() {
        for (const auto& address : QNetworkInterface::allAddresses()) {
            if (address.isLoopback() || address.protocol() != QAbstractSocket::IPv4Protocol) {
                continue;
            }
            QTcpSocket socket;
            socket.connectToHost(address, port);
            QVERIFY(waitUntil([&] {
                return socket.state() == QAbstractSocket::UnconnectedState ||
                       socket.state() == QAbstractSocket::ConnectedState;
            }));
            QCOMPARE(socket.error(), QAbstractSocket::ConnectionRefusedError);
        }
    }
};

QTEST_GUILESS_MAIN(LoopbackListenerTest)
#include "LoopbackListenerTest.moc"
