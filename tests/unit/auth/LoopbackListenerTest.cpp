#include "auth/LoopbackListener.h"
#include "auth/AuthError.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QHostAddress>
#include <QNetworkInterface>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <deque>

using namespace quillo;
using namespace quillo::test;

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

/// What the wait ended with: the code, or the error's text.
QString outcome(Task<LoopbackCallback> waiting) {
    try {
        return await(std::move(waiting)).code;
    } catch (const LocalizedError& error) {
        return error.errorDescription();
    }
}

const QString malformed = QStringLiteral("Sign-in callback was malformed");

} // namespace

class LoopbackListenerTest : public QObject {
    Q_OBJECT

private:
    quint16 port = 0;
    std::unique_ptr<LoopbackListener> listener;

private Q_SLOTS:
    void init() {
        port = freePort();
        listener = LoopbackListener::open(port);
        QVERIFY(listener);
    }
    void cleanup() { listener.reset(); }

    void theRedirectEndsTheWaitAndTheBrowserSeesThePage() {
        auto waiting = listener->waitForCallback();
        const auto browser = connectTo(port);
        browser->write(redirect);
        const auto callback = await(std::move(waiting));
        QCOMPARE(callback.code, QStringLiteral("abc"));
        QCOMPARE(callback.state, QStringLiteral("xyz"));
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
        QCOMPARE(outcome(std::move(waiting)), QStringLiteral("abc"));
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
        QCOMPARE(outcome(std::move(waiting)), QStringLiteral("abc"));
    }

    void aRequestMayArriveInPieces() {
        auto waiting = listener->waitForCallback();
        const auto browser = connectTo(port);
        for (const char byte : redirect) {
            browser->write(&byte, 1);
            browser->flush();
        }
        QCOMPARE(outcome(std::move(waiting)), QStringLiteral("abc"));
        QCOMPARE(pageOf(*browser), callbackResponse(true));
    }

    void aRequestWithoutALineEndIsTakenAtTheEndOfTheConnection() {
        auto waiting = listener->waitForCallback();
        const auto client = connectTo(port);
        client->write("GET /?code=abc&state=xyz");
        client->disconnectFromHost();
        QCOMPARE(outcome(std::move(waiting)), QStringLiteral("abc"));
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
        QCOMPARE(callback.code, QStringLiteral("abc"));
        early->write("GET /?code=other&state=other HTTP/1.1\r\n\r\n");
        QCOMPARE(pageOf(*early), callbackResponse(true));
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
        QVERIFY(waitUntil([&] { return LoopbackListener::open(port) != nullptr; }));
    }

    void thePortIsFreeAtOnceWhenTheListenerIsDropped() {
        auto waiting = listener->waitForCallback();
        const auto client = connectTo(port);
        waiting.cancel();
        listener.reset();
        QVERIFY(LoopbackListener::open(port));
        QVERIFY(waitUntil([&] { return client->state() == QAbstractSocket::UnconnectedState; }));
    }

    void aDroppedListenerNeverResumesTheWait() {
        auto waiting = listener->waitForCallback();
        listener.reset();
        drainEvents();
        QVERIFY(!waiting.isFinished());
    }

    void aTakenPortCannotBeListenedOn() { QVERIFY(!LoopbackListener::open(port)); }

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

QUILLO_TEST(LoopbackListenerTest, QCoreApplication)
#include "LoopbackListenerTest.moc"
