#include "auth/LoopbackListener.h"

#include "auth/AuthError.h"
#include "auth/OnceFlag.h"
#include "core/Awaiters.h"

#include <QPointer>
#include <QPromise>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <deque>

using namespace std::chrono_literals;

namespace quillo {

namespace {

constexpr qsizetype longestRequest = 16'384;

/// How long a request may take after its first byte.
constexpr auto requestTime = 2s;

/// How long connections that were accepted before the decision may stay silent after it.
constexpr auto lingerTime = 10s;

/// Beyond so many silent connections the oldest is closed, so that a flood cannot use up the process's
/// descriptors.
constexpr std::size_t mostSilentConnections = 512;

using Result = std::variant<LoopbackCallback, AuthError, LocalizedError>;

} // namespace

/// Lives on the listener's thread.
class LoopbackListener::Server final : public QObject {
public:
    explicit Server(QPromise<Result> outcome) : promise(std::move(outcome)) {
        promise.start();
        connect(&server, &QTcpServer::newConnection, this, [this] { acceptAll(); });
        connect(&server, &QTcpServer::acceptError, this, [this](QAbstractSocket::SocketError) {
            LocalizedError problem(server.errorString());
            server.close(); // what cannot be accepted now is not waited for
            resolve(std::move(problem));
        });
    }

    [[nodiscard]] bool listen(quint16 port) { return server.listen(QHostAddress::LocalHost, port); }

private:
    void acceptAll() {
        while (auto* connection = server.nextPendingConnection()) {
            connection->setReadBufferSize(longestRequest);
            connect(connection, &QTcpSocket::readyRead, this, [this, connection] { received(connection); });
            connect(connection, &QTcpSocket::disconnected, connection, &QObject::deleteLater);
            connect(connection, &QTcpSocket::readChannelFinished, this,
                    [this, connection] { ended(connection); });
            silent.emplace_back(connection);
            std::erase_if(silent, [](const auto& known) { return known.isNull(); });
            if (silent.size() > mostSilentConnections) {
                silent.front()->abort();
                silent.pop_front();
            }
        }
    }

    void received(QTcpSocket* connection) {
        const auto head = connection->peek(longestRequest);
        if (head.contains("\r\n") || head.size() >= longestRequest) {
            answer(connection);
        } else if (std::erase(silent, connection) > 0) {
            auto* patience = new QTimer(connection);
            patience->setObjectName(QStringLiteral("patience"));
            connect(patience, &QTimer::timeout, this, [this, connection] { answer(connection); });
            patience->start(requestTime);
        }
    }

    void ended(QTcpSocket* connection) {
        if (connection->bytesAvailable() > 0) {
            answer(connection);
        } else {
            connection->abort();
        }
    }

    void answer(QTcpSocket* connection) {
        std::erase(silent, connection);
        connection->disconnect(this);
        if (auto* patience = connection->findChild<QTimer*>(QStringLiteral("patience"))) {
            patience->stop();
        }
        const auto head = connection->read(longestRequest);
        const auto callback = parseCallback(head.isValidUtf8() ? QString::fromUtf8(head) : QString());
        // What else arrives is read and dropped: closing with unread bytes would reset the connection and
        // lose the page on its way.
        connect(connection, &QTcpSocket::readyRead, connection, [connection] { connection->readAll(); });
        connection->readAll();
        connect(connection, &QTcpSocket::bytesWritten, this, [this, connection, callback] {
            if (connection->bytesToWrite() == 0) {
                connection->disconnectFromHost();
                resolve(callback ? Result(*callback) : Result(AuthError::badCallback()));
            }
        });
        connect(connection, &QTcpSocket::disconnected, this, [this, callback] {
            // Also when the browser did not stay for the page.
            resolve(callback ? Result(*callback) : Result(AuthError::badCallback()));
        });
        connection->write(callbackResponse(callback.has_value()));
        connection->flush();
    }

    void resolve(Result result) {
        if (!decided.fire()) {
            return;
        }
        promise.addResult(std::move(result));
        promise.finish();
        while (server.waitForNewConnection(0)) {
            acceptAll(); // the system has accepted these before the decision
        }
        server.close();
        QTimer::singleShot(lingerTime, this, [this] {
            for (const auto& connection : silent) {
                if (connection) {
                    connection->abort();
                }
            }
            thread()->quit(); // There is nothing left to do, and a thread costs memory.
        });
    }

    QTcpServer server{this};
    QPromise<Result> promise;
    OnceFlag decided;
    std::deque<QPointer<QTcpSocket>> silent;
};

class LoopbackListener::Thread final {
public:
    Thread() { thread.setObjectName(QStringLiteral("sign-in")); }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread() {
        thread.quit();
        thread.wait();
    }

    [[nodiscard]] bool listen(quint16 port) {
        QPromise<Result> promise;
        outcome = promise.future();
        auto* server = new Server(std::move(promise));
        if (!server->listen(port)) {
            delete server;
            return false;
        }
        server->moveToThread(&thread);
        QObject::connect(&thread, &QThread::finished, server, &QObject::deleteLater);
        thread.start();
        return true;
    }

    QFuture<Result> outcome;

private:
    QThread thread;
};

LoopbackListener::LoopbackListener(std::unique_ptr<Thread> running) : thread(std::move(running)) {}

LoopbackListener::~LoopbackListener() = default;

std::unique_ptr<LoopbackListener> LoopbackListener::open(quint16 port) {
    auto thread = std::make_unique<Thread>();
    if (!thread->listen(port)) {
        return nullptr;
    }
    return std::unique_ptr<LoopbackListener>(new LoopbackListener(std::move(thread)));
}

Task<LoopbackCallback> LoopbackListener::waitForCallback() {
    UntilFinished<Result> decision(thread->outcome);
    const auto result = co_await decision;
    if (const auto* refused = std::get_if<AuthError>(&result)) {
        throw *refused;
    }
    if (const auto* failed = std::get_if<LocalizedError>(&result)) {
        throw *failed;
    }
    co_return std::get<LoopbackCallback>(result);
}

} // namespace quillo
