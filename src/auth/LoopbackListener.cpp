#include "auth/LoopbackListener.h"

#include "auth/AuthError.h"
#include "auth/OnceFlag.h"
#include "core/Promise.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cerrno>
#include <utility>

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
    Task<Result> outcome = redirect.task();
};

/// Uses the descriptor itself, because Qt's sockets close altogether when the other side has sent its last,
/// and then no page reaches a client that closes its sending half after the request.
class LoopbackListener::Connection final : public QObject {
public:
    Connection(qintptr accepted, std::shared_ptr<Wait> acceptedDuring, LoopbackListener& acceptedBy,
               QObject* parent)
        : QObject(parent),
          descriptor(static_cast<int>(accepted)),
          wait(std::move(acceptedDuring)),
          listener(acceptedBy),
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
        std::erase(listener.silent, this);
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
            std::erase(listener.silent, this);
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
        listener.decide(*wait, callback ? Result(*callback)
                                        : Result(std::make_exception_ptr(AuthError::badCallback())));
    }

    int descriptor;
    std::shared_ptr<Wait> wait;
    LoopbackListener& listener;
    QSocketNotifier notifier;
    QTimer patience;
    QByteArray request;
    qsizetype dropped = 0;
    bool isAnswered = false;
};

LoopbackListener::LoopbackListener() {
    connect(this, &QTcpServer::acceptError, this, [this] {
        const LocalizedError problem(errorString());
        QTcpServer::close(); // what cannot be accepted now is not waited for
        decide(*present, std::make_exception_ptr(problem));
    });
}

LoopbackListener::~LoopbackListener() = default;

bool LoopbackListener::listen(quint16 port) {
    QTcpServer::close();
    present = std::make_shared<Wait>();
    return QTcpServer::listen(QHostAddress::LocalHost, port);
}

Task<LoopbackCallback> LoopbackListener::waitForCallback() {
    auto outcome = std::move(present->outcome);
    const auto result = co_await outcome;
    if (const auto* problem = std::get_if<std::exception_ptr>(&result)) {
        std::rethrow_exception(*problem);
    }
    co_return std::get<LoopbackCallback>(result);
}

void LoopbackListener::close() {
    QTcpServer::close();
    silent.clear();
    connections = std::make_unique<QObject>();
}

void LoopbackListener::incomingConnection(qintptr descriptor) {
    silent.push_back(new Connection(descriptor, present, *this, connections.get()));
    if (silent.size() > mostSilentConnections) {
        silent.front()->finish();
    }
}

void LoopbackListener::decide(Wait& wait, const Result& result) {
    if (!wait.decided.fire()) {
        return;
    }
    wait.redirect.fulfil(result);
    while (waitForNewConnection(0)) {
        // The system has accepted these before the decision.
    }
    QTcpServer::close();
    for (auto* connection : silent) {
        connection->linger();
    }
}

} // namespace quillo
