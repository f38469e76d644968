#include "auth/LoopbackListener.h"

#include "auth/AuthError.h"
#include "auth/OnceFlag.h"
#include "core/Promise.h"

#include <QSocketNotifier>
#include <QTcpServer>
#include <QTimer>

#include <cerrno>
#include <deque>
#include <exception>
#include <optional>
#include <utility>
#include <variant>

#include <sys/socket.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace quillo {

namespace {

constexpr qsizetype longestRequest = 16'384;

/// How long a request may take after its first byte.
constexpr auto requestTime = 2s;

/// How long connections that were accepted before the decision may stay silent after it, and a browser may
/// take to close one that has been answered.
constexpr auto lingerTime = 10s;

/// How much more of a request than counts is read, so that closing does not reset the connection and lose the
/// page on its way.
constexpr qsizetype mostDropped = 4 << 20;

/// Beyond so many silent connections the oldest is closed, so that a flood cannot use up the process's
/// descriptors.
constexpr std::size_t mostSilentConnections = 512;

using Result = std::variant<LoopbackCallback, std::exception_ptr>;

} // namespace

/// What the connections accepted during one sign-in share.
struct LoopbackListener::Wait {
    OnceFlag decided;
    Promise<Result> redirect;
};

/// Accepts connections, and makes the first request that one of them brings the result of the wait.
class LoopbackListener::Server final : public QTcpServer {
public:
    Server();
    [[nodiscard]] bool begin(quint16 port);
    void abandon();

    /// The connections stay, so that those accepted by now are answered.
    void decide(Wait& wait, const Result& result);
    void forgetSilent(const Connection* connection) { std::erase(silent, connection); }

    std::optional<Task<Result>> redirect; ///< of the present wait, until somebody takes it

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    std::shared_ptr<Wait> present = std::make_shared<Wait>();
    std::deque<Connection*> silent;
    std::unique_ptr<QObject> connections = std::make_unique<QObject>();
};

/// Uses the descriptor itself, because Qt's sockets close altogether when the other side has sent its last,
/// and then no page reaches a client that closes its sending half after the request.
class LoopbackListener::Connection final : public QObject {
public:
    Connection(qintptr accepted, std::shared_ptr<Wait> acceptedDuring, Server& acceptedBy, QObject* parent)
        : QObject(parent),
          descriptor(static_cast<int>(accepted)),
          wait(std::move(acceptedDuring)),
          server(acceptedBy),
          notifier(accepted, QSocketNotifier::Read) {
        connect(&notifier, &QSocketNotifier::activated, this, [this] { receive(); });
        patience.setSingleShot(true);
        connect(&patience, &QTimer::timeout, this, [this] { end(); });
    }
    ~Connection() override {
        notifier.setEnabled(false);
        ::close(descriptor);
    }

    void linger() { patience.start(lingerTime); }

    void finish() {
        server.forgetSilent(this);
        notifier.setEnabled(false);
        patience.stop();
        deleteLater();
    }

private:
    void receive() {
        QByteArray piece(longestRequest, Qt::Uninitialized);
        const auto count =
            ::recv(descriptor, piece.data(), static_cast<std::size_t>(piece.size()), MSG_DONTWAIT);
        if (count > 0) {
            piece.truncate(count);
            take(piece);
        } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            end();
        }
    }

    void take(const QByteArray& piece) {
        if (isAnswered) {
            dropped += piece.size();
            if (dropped > mostDropped) {
                finish();
            }
            return;
        }
        if (request.isEmpty()) {
            server.forgetSilent(this);
            patience.start(requestTime);
        }
        request += piece;
        if (request.contains("\r\n") || request.size() >= longestRequest) {
            answer();
        }
    }

    /// Nothing more comes, or is waited for.
    void end() {
        if (isAnswered || request.isEmpty()) {
            finish();
        } else {
            answer();
        }
    }

    void answer() {
        isAnswered = true;
        request.truncate(longestRequest);
        const auto callback = parseCallback(request.isValidUtf8() ? QString::fromUtf8(request) : QString());
        const auto page = callbackResponse(callback.has_value());
        // There is always room for the first few hundred bytes; whether the browser stays for them is its
        // affair.
        static_cast<void>(::send(descriptor, page.constData(), static_cast<std::size_t>(page.size()),
                                 MSG_NOSIGNAL | MSG_DONTWAIT));
        ::shutdown(descriptor, SHUT_WR);
        linger();
        server.decide(*wait, callback ? Result(*callback)
                                      : Result(std::make_exception_ptr(AuthError::badCallback())));
    }

    int descriptor;
    std::shared_ptr<Wait> wait;
    Server& server;
    QSocketNotifier notifier;
    QTimer patience;
    QByteArray request;
    qsizetype dropped = 0;
    bool isAnswered = false;
};

LoopbackListener::Server::Server() {
    connect(this, &QTcpServer::acceptError, this, [this] {
        const LocalizedError problem(errorString());
        close(); // what cannot be accepted now is not waited for
        decide(*present, std::make_exception_ptr(problem));
    });
}

bool LoopbackListener::Server::begin(quint16 port) {
    close();
    present = std::make_shared<Wait>();
    redirect = present->redirect.task();
    return listen(QHostAddress::LocalHost, port);
}

void LoopbackListener::Server::abandon() {
    close();
    redirect.reset();
    silent.clear();
    connections = std::make_unique<QObject>();
}

void LoopbackListener::Server::incomingConnection(qintptr descriptor) {
    silent.push_back(new Connection(descriptor, present, *this, connections.get()));
    if (silent.size() > mostSilentConnections) {
        silent.front()->finish();
    }
}

void LoopbackListener::Server::decide(Wait& wait, const Result& result) {
    if (!wait.decided.fire()) {
        return;
    }
    wait.redirect.fulfil(result);
    while (waitForNewConnection(0)) {
        // The system has accepted these before the decision.
    }
    close();
    for (auto* connection : silent) {
        connection->linger();
    }
}

LoopbackListener::LoopbackListener() : server(std::make_unique<Server>()) {}

LoopbackListener::~LoopbackListener() = default;

bool LoopbackListener::listen(quint16 port) {
    return server->begin(port);
}

Task<LoopbackCallback> LoopbackListener::waitForCallback() {
    auto redirect = *std::exchange(server->redirect, std::nullopt);
    const auto result = co_await redirect;
    if (const auto* problem = std::get_if<std::exception_ptr>(&result)) {
        std::rethrow_exception(*problem);
    }
    co_return std::get<LoopbackCallback>(result);
}

void LoopbackListener::close() {
    server->abandon();
}

} // namespace quillo
