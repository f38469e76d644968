#include "support/ScriptedServer.h"

#include "support/Wait.h"

#include <QHostAddress>
#include <QNetworkProxyFactory>
#include <QSocketNotifier>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTcpServer>
#include <QTimer>

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <utility>

namespace quillo::test {

namespace {

ScriptedServer::Script always(Answer answer) {
    return [answer = std::move(answer)](const ReceivedRequest&) { return answer; };
}

} // namespace

QList<QByteArray> ReceivedRequest::values(QByteArrayView name) const {
    QList<QByteArray> found;
    for (const auto& header : headers) {
        if (header.name.compare(name, Qt::CaseInsensitive) == 0) {
            found.append(header.value);
        }
    }
    return found;
}

Answer Answer::http(int status, QByteArrayView body, const QList<QByteArray>& headers) {
    QByteArray bytes = "HTTP/1.1 " + QByteArray::number(status) + " Scripted\r\n";
    for (const auto& header : headers) {
        bytes += header + "\r\n";
    }
    if (status != 204) {
        bytes += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    }
    bytes += "\r\n";
    bytes += body;
    Answer answer;
    answer.bytes = std::move(bytes);
    return answer;
}

Answer Answer::andClose(QByteArray bytes) {
    Answer answer;
    answer.bytes = std::move(bytes);
    answer.then = Then::close;
    return answer;
}

struct ScriptedServer::State {
    Script script;
    std::optional<ServerIdentity> identity;
    std::vector<ReceivedRequest> requests;
    QList<QByteArray> hellos;
    int accepted = 0;
    qint64 received = 0;
    std::vector<std::unique_ptr<Connection>> connections;
    std::unique_ptr<Listener> listener;
    quint16 port = 0;
};

/// Reads requests off one socket and plays the answers.
class ScriptedServer::Connection : public QObject {
public:
    Connection(State& owner, qintptr descriptor, int number) : server(owner), connectionNumber(number) {
        socket.setSocketDescriptor(descriptor);
        connect(&socket, &QSslSocket::readyRead, this, &Connection::read);
        connect(&socket, &QSslSocket::bytesWritten, this, &Connection::sendMore);
        connect(&socket, &QSslSocket::encryptedBytesWritten, this, &Connection::sendMore);
        connect(&pause, &QTimer::timeout, this, &Connection::sendPiece);
        pause.setSingleShot(true);
        if (server.identity) {
            auto configuration = QSslConfiguration::defaultConfiguration();
            configuration.setPrivateKey(server.identity->key);
            configuration.setLocalCertificate(server.identity->certificate);
            configuration.setProtocol(server.identity->protocol);
            configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
            socket.setSslConfiguration(configuration);
            socket.startServerEncryption();
        }
    }

    [[nodiscard]] bool isOpen() const { return socket.state() == QAbstractSocket::ConnectedState; }
    void close() { socket.disconnectFromHost(); }

private:
    void read() {
        const QByteArray bytes = socket.readAll();
        server.received += bytes.size();
        buffer += bytes;
        while (!busy && takeRequest()) {
        }
    }

    /// Splits one request off the buffer, if it is there completely, and begins its answer.
    bool takeRequest() {
        const auto headEnd = buffer.indexOf("\r\n\r\n");
        if (headEnd < 0) {
            return false;
        }
        ReceivedRequest request;
        request.connection = connectionNumber;
        auto lines = buffer.first(headEnd).split('\n');
        const auto words = lines.takeFirst().trimmed().split(' ');
        request.method = words.value(0);
        request.target = words.value(1);
        for (const auto& line : std::as_const(lines)) {
            const auto colon = line.indexOf(':');
            request.headers.push_back(
                {line.first(std::max<qsizetype>(colon, 0)).trimmed(), line.sliced(colon + 1).trimmed()});
        }
        const auto length = request.values("Content-Length").value(0).toLongLong();
        const auto total = headEnd + 4 + length;
        if (buffer.size() < total) {
            return false;
        }
        request.raw = buffer.first(total);
        request.body = request.raw.sliced(headEnd + 4);
        buffer.remove(0, total);
        server.requests.push_back(request);
        answer = server.script(request);
        busy = true;
        if (answer.gate && !answer.gate->isOpen()) {
            waiting = answer.gate->whenOpened([this] { sendPiece(); });
        } else {
            sendPiece();
        }
        return true;
    }

    void sendPiece() {
        const auto size =
            answer.pieceSize > 0 ? std::min(answer.pieceSize, answer.bytes.size()) : answer.bytes.size();
        socket.write(answer.bytes.first(size));
        answer.bytes.remove(0, size);
        if (!answer.bytes.isEmpty()) {
            socket.flush(); // each piece a packet of its own
            pause.start(answer.between);
        } else if (!answer.more) {
            finish();
        }
    }

    void sendMore() {
        if (!busy || !answer.more || !answer.bytes.isEmpty() || socket.bytesToWrite() > 0 ||
            socket.encryptedBytesToWrite() > 0) {
            return;
        }
        const QByteArray next = answer.more();
        if (next.isEmpty()) {
            finish();
        } else {
            socket.write(next);
        }
    }

    void finish() {
        busy = false;
        if (answer.then == Answer::Then::close) {
            socket.disconnectFromHost();
        } else if (answer.then == Answer::Then::reset) {
            const linger atOnce{1, 0};
            setsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce,
                       sizeof atOnce);
            socket.abort();
        } else {
            read();
        }
    }

    State& server;
    int connectionNumber;
    QSslSocket socket;
    QTimer pause;
    QByteArray buffer;
    Answer answer;
    Observation waiting;
    bool busy = false;
};

class ScriptedServer::Listener : public QTcpServer {
public:
    explicit Listener(State& owner) : server(owner) {
        QNetworkProxyFactory::setUseSystemConfiguration(false); // loopback is reached without one
        if (!listen(QHostAddress::LocalHost)) {
            qFatal("no port on loopback: %s", qPrintable(errorString()));
        }
    }

protected:
    void incomingConnection(qintptr descriptor) override {
        const int number = server.accepted++;
        if (server.identity) {
            keepClientHello(descriptor, number);
        } else {
            server.connections.push_back(std::make_unique<Connection>(server, descriptor, number));
        }
    }

private:
    /// Looks at the client's first bytes without taking them from the socket, then begins with TLS.
    void keepClientHello(qintptr descriptor, int number) {
        auto* readable = new QSocketNotifier(descriptor, QSocketNotifier::Read, this);
        connect(readable, &QSocketNotifier::activated, this, [this, readable, descriptor, number] {
            readable->setEnabled(false);
            readable->deleteLater();
            std::array<char, 4096> bytes{};
            const auto size = recv(static_cast<int>(descriptor), bytes.data(), bytes.size(), MSG_PEEK);
            server.hellos.append(QByteArray(bytes.data(), std::max<qsizetype>(size, 0)));
            server.connections.push_back(std::make_unique<Connection>(server, descriptor, number));
        });
    }

    State& server;
};

ScriptedServer::ScriptedServer(Script script, std::optional<ServerIdentity> identity)
    : state(std::make_unique<State>()) {
    state->script = std::move(script);
    state->identity = std::move(identity);
    state->listener = std::make_unique<Listener>(*state);
    state->port = state->listener->serverPort();
}

ScriptedServer::ScriptedServer(Answer answer, std::optional<ServerIdentity> identity)
    : ScriptedServer(always(std::move(answer)), std::move(identity)) {}

ScriptedServer::~ScriptedServer() = default;

QString ScriptedServer::origin() const {
    return QStringLiteral("%1://127.0.0.1:%2")
        .arg(state->identity ? QStringLiteral("https") : QStringLiteral("http"))
        .arg(port());
}

quint16 ScriptedServer::port() const {
    return state->port;
}

void ScriptedServer::startOver(Script script) {
    setScript(always(Answer::silence()));
    drainEvents(); // what the last test left behind still comes
    state->connections.clear();
    state->requests.clear();
    state->hellos.clear();
    state->accepted = 0;
    state->received = 0;
    setScript(std::move(script));
}

void ScriptedServer::startOver(const Answer& answer) {
    startOver(always(answer));
}

void ScriptedServer::setScript(Script script) {
    state->script = std::move(script);
}

const std::vector<ReceivedRequest>& ScriptedServer::requests() const {
    return state->requests;
}

int ScriptedServer::acceptedConnections() const {
    return state->accepted;
}

int ScriptedServer::openConnections() const {
    return static_cast<int>(std::count_if(state->connections.begin(), state->connections.end(),
                                          [](const auto& connection) { return connection->isOpen(); }));
}

qint64 ScriptedServer::receivedBytes() const {
    return state->received;
}

const QList<QByteArray>& ScriptedServer::clientHellos() const {
    return state->hellos;
}

void ScriptedServer::stopListening() {
    state->listener->close();
}

void ScriptedServer::closeConnections() {
    for (const auto& connection : state->connections) {
        connection->close();
    }
}

} // namespace quillo::test
