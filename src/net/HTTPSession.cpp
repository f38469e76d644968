#include "net/HTTPSession.h"

#include "core/Awaiters.h"
#include "core/WorkQueue.h"
#include "net/ResponseReader.h"

#include <QDeadlineTimer>
#include <QHostAddress>
#include <QNetworkProxyFactory>
#include <QNetworkProxyQuery>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTimer>

#include <algorithm>
#include <optional>
#include <utility>

#include <netdb.h>

namespace quillo {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using Reason = TransportError::Reason;
using State = QAbstractSocket::SocketState;

namespace {

constexpr std::ptrdiff_t connectionsToAnOrigin = 6;
/// What the socket may hold for us; the server waits while it is full.
constexpr qint64 readAhead = qint64{256} * 1024;
/// Read at a time. Decompressed it is two megabytes at most.
constexpr qint64 pieceSize = 2048;
/// For so long one turn of the event loop may read.
constexpr auto turnLength = 3ms;

void requireSendable(const HTTPRequest& request) {
    if (request.url.scheme() != "http"_L1 && request.url.scheme() != "https"_L1) {
        throw TransportError(Reason::badAddress, u"The address must begin with http:// or https://."_s);
    }
    if (request.url.host().isEmpty()) {
        throw TransportError(Reason::badAddress, u"The address names no server."_s);
    }
    for (const auto& header : request.headers) {
        if (header.value.contains('\r') || header.value.contains('\n') || header.value.contains('\0')) {
            // The text does not repeat the value, which may be secret.
            throw TransportError(Reason::badHeader,
                                 u"The value for %1 contains a line break and was not sent."_s.arg(
                                     QString::fromUtf8(header.name)));
        }
    }
}

QSslConfiguration trustOf(CertificateCheck check, const QList<QSslCertificate>& authorities) {
    auto configuration = QSslConfiguration::defaultConfiguration();
    if (check == CertificateCheck::none) {
        configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    } else if (!authorities.isEmpty()) {
        configuration.addCaCertificates(authorities);
    }
    return configuration;
}

quint16 portOf(const QUrl& url) {
    return static_cast<quint16>(url.port(url.scheme() == "https"_L1 ? 443 : 80));
}

/// Where to connect to: the server, or the proxy if that has a name.
struct Route {
    QNetworkProxy proxy;
    QList<QHostAddress> addresses;
};

/// Asks the desktop, the environment and the name service, which may all take long.
Route findRoute(const QUrl& url) {
    Route route{QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(url)).value(0), {}};
    const QString proxy = route.proxy.hostName();
    const QByteArray name = (proxy.isEmpty() ? url.host(QUrl::FullyEncoded) : proxy).toUtf8();
    if (name == "localhost") { // whatever the name service says (RFC 6761, section 6.3)
        route.addresses = {QHostAddress::LocalHostIPv6, QHostAddress::LocalHost};
        return route;
    }
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(name.constData(), nullptr, &hints, &found) == 0) {
        for (const auto* entry = found; entry != nullptr; entry = entry->ai_next) {
            route.addresses.append(QHostAddress(entry->ai_addr));
        }
        freeaddrinfo(found);
    }
    return route;
}

} // namespace

/// The connection of one request. Its operations throw `TransportError`, also when the time is up.
class HTTPSession::Connection {
public:
    Connection(std::shared_ptr<Lines> allLines, const HTTPRequest& request,
               std::chrono::milliseconds totalTimeout)
        : lines(std::move(allLines)),
          url(request.url),
          origin(u"%1://%2:%3"_s.arg(url.scheme(), url.host()).arg(portOf(url))),
          idleTimeout(request.idleTimeout),
          end(totalTimeout) {
        (*lines)[origin].push_back(this);
        patience.setSingleShot(true);
        patience.callOnTimeout([this] { wake(); });
        allow(idleTimeout);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() {
        auto& line = lines->at(origin);
        std::erase(line, this);
        if (std::ssize(line) >= connectionsToAnOrigin) {
            line[connectionsToAnOrigin - 1]->wake();
        } else if (line.empty()) {
            lines->erase(origin);
        }
    }

    /// Waits for its turn and connects. With https the server has proved who it is, as far as that is
    /// checked.
    [[nodiscard]] Task<> open(CertificateCheck check, QList<QSslCertificate> authorities) {
        const auto& line = lines->at(origin);
        while (std::ranges::find(line, this) - line.begin() >= connectionsToAnOrigin) {
            co_await somethingNew();
        }
        auto route = lookUp();
        while (!route.isFinished()) {
            co_await somethingNew();
        }
        co_await connectTo(route.takeResult());
        if (tls != nullptr) {
            tls->setSslConfiguration(trustOf(check, authorities));
            tls->setPeerVerifyName(url.host());
            tls->startClientEncryption();
        }
        while (tls != nullptr && !tls->isEncrypted()) {
            if (socket->state() == State::UnconnectedState) {
                throw TransportError(failure());
            }
            co_await somethingNew();
        }
    }

    void write(const QByteArray& bytes) { socket->write(bytes); }

    /// The next few bytes; none at the end. Leaves the event loop its turns.
    [[nodiscard]] Task<QByteArray> read() {
        if (turn.hasExpired()) {
            OneShotEvent nextTurn;
            nextTurn.fire();
            co_await nextTurn;
            turn.setRemainingTime(turnLength);
        }
        while (socket->bytesAvailable() == 0) {
            if (socket->state() == State::ConnectedState) {
                co_await somethingNew();
            } else if (socket->error() == QAbstractSocket::RemoteHostClosedError) {
                co_return QByteArray();
            } else {
                throw TransportError(failure());
            }
            turn.setRemainingTime(turnLength);
        }
        co_return socket->read(pieceSize);
    }

    /// The proxy that has to be told of the server in the request itself, if there is one: HTTP proxies
    /// tunnel only what is encrypted.
    [[nodiscard]] const QNetworkProxy* forwarder() const {
        const bool speaksHTTP =
            proxy.type() == QNetworkProxy::HttpProxy || proxy.type() == QNetworkProxy::HttpCachingProxy;
        return url.scheme() == "http"_L1 && speaksHTTP ? &proxy : nullptr;
    }

private:
    [[nodiscard]] Task<Route> lookUp() {
        WorkQueue worker; // leaves behind what takes too long
        auto work = worker.run([address = url] { return findRoute(address); });
        auto route = co_await work;
        wake();
        co_return route;
    }

    [[nodiscard]] Task<> connectTo(Route route) {
        proxy = route.proxy;
        const bool isDirect = proxy.hostName().isEmpty();
        auto last = transportError(isDirect ? QAbstractSocket::HostNotFoundError
                                            : QAbstractSocket::ProxyNotFoundError,
                                   {}, {}, serverName(url));
        for (const auto& address : std::as_const(route.addresses)) {
            makeSocket();
            proxy.setHostName(isDirect ? QString() : address.toString());
            const bool isTunnel = !isDirect && forwarder() == nullptr;
            socket->setProxy(isTunnel ? proxy : QNetworkProxy(QNetworkProxy::NoProxy));
            socket->connectToHost(isTunnel ? url.host() : address.toString(),
                                  isDirect || isTunnel ? portOf(url) : proxy.port());
            allow(idleTimeout / route.addresses.size()); // one that never answers leaves time for the next
            while (isConnecting() && !isOver()) {
                co_await wakeUp();
            }
            if (socket->state() == State::ConnectedState) {
                allow(idleTimeout);
                co_return;
            }
            last = failure();
        }
        throw TransportError(last);
    }

    [[nodiscard]] bool isConnecting() const {
        return socket->state() != State::ConnectedState && socket->state() != State::UnconnectedState;
    }

    void makeSocket() {
        // A QSslSocket would bring the TLS library in, which takes most of a megabyte, for http too.
        const bool isSecure = url.scheme() == "https"_L1;
        socket.reset(isSecure ? tls = new QSslSocket() : new QTcpSocket());
        socket->setReadBufferSize(readAhead);
        const auto progress = [this] {
            allow(idleTimeout);
            wake();
        };
        QObject::connect(socket.get(), &QTcpSocket::stateChanged, socket.get(), progress);
        QObject::connect(socket.get(), &QTcpSocket::readyRead, socket.get(), progress);
        QObject::connect(socket.get(), &QTcpSocket::bytesWritten, socket.get(), progress);
        if (tls != nullptr) {
            QObject::connect(tls, &QSslSocket::encrypted, tls, progress);
        }
    }

    /// Waits until the socket, the time, the line or the look-up comes on.
    [[nodiscard]] Task<> wakeUp() {
        auto& next = awaited.emplace();
        co_await next;
    }
    [[nodiscard]] Task<> somethingNew() {
        co_await wakeUp();
        if (isOver()) {
            throw TransportError(failure());
        }
    }
    void wake() {
        if (awaited) {
            awaited->fire();
        }
    }

    void allow(std::chrono::milliseconds pause) {
        patience.start(std::min(pause, std::chrono::milliseconds(end.remainingTime())));
    }
    [[nodiscard]] bool isOver() const { return !patience.isActive() || end.hasExpired(); }

    [[nodiscard]] TransportError failure() const {
        if (isOver()) {
            return {Reason::timedOut, u"The request timed out."_s};
        }
        auto error = socket->error();
        if (forwarder() != nullptr) {
            error = QAbstractSocket::ProxyConnectionRefusedError;
        } else if (!proxy.hostName().isEmpty() && error == QAbstractSocket::SocketAccessError) {
            error = QAbstractSocket::ProxyProtocolError; // how Qt says that there will be no tunnel
        }
        const auto faults = tls != nullptr ? tls->sslHandshakeErrors() : QList<QSslError>();
        return transportError(error, socket->errorString(), faults, serverName(url));
    }

    std::shared_ptr<Lines> lines;
    QUrl url;
    QString origin;
    std::chrono::milliseconds idleTimeout;
    QDeadlineTimer end;
    QDeadlineTimer turn;                 // of the event loop
    QTimer patience;                     // runs out when nothing happens
    std::optional<OneShotEvent> awaited; // outlives the socket, which may speak while it goes
    QNetworkProxy proxy;
    std::unique_ptr<QTcpSocket> socket;
    QSslSocket* tls = nullptr; // the socket, with https
};

namespace {

/// The request as it goes out, to a server or to a proxy that passes it on.
QByteArray message(const HTTPRequest& request, const QNetworkProxy* forwarder) {
    constexpr auto notOrigin =
        QUrl::RemoveUserInfo | QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment;
    const QByteArray origin = request.url.toEncoded(notOrigin);
    const bool isPost = request.method == HTTPMethod::post;
    QByteArray bytes = (isPost ? "POST " : "GET ") + (forwarder ? origin : QByteArray()) + request.target +
                       " HTTP/1.1\r\nHost: " + origin.sliced(origin.indexOf("//") + 2) +
                       "\r\nConnection: close\r\nAccept-Encoding: gzip\r\nUser-Agent: Quillo\r\n";
    for (const auto& header : request.headers) {
        bytes += header.name + ": " + header.value + "\r\n";
    }
    if (forwarder && !forwarder->user().isEmpty()) {
        const QString credential = forwarder->user() + u':' + forwarder->password();
        bytes += "Proxy-Authorization: Basic " + credential.toUtf8().toBase64() + "\r\n";
    }
    if (isPost) {
        bytes += "Content-Length: " + QByteArray::number(request.body.size()) + "\r\n";
    }
    return bytes + "\r\n" + (isPost ? request.body : QByteArray());
}

} // namespace

HTTPSession& HTTPSession::shared() {
    static HTTPSession session;
    return session;
}

HTTPSession::HTTPSession() : HTTPSession(Options{}) {}

HTTPSession::HTTPSession(Options sessionOptions) : options(std::move(sessionOptions)) {}

HTTPSession::~HTTPSession() = default;

Task<HTTPResponse> HTTPSession::send(HTTPRequest request) {
    requireSendable(request);
    if (request.target.isEmpty()) {
        request.setAddress(request.url.toString(QUrl::FullyEncoded));
    }
    ResponseReader reader(serverName(request.url), request.bodyUse, options.bodyLimit);
    Connection connection(lines, request, options.totalTimeout);
    // The session may have gone after this.
    co_await connection.open(request.certificateCheck, options.additionalAuthorities);
    connection.write(message(request, connection.forwarder()));
    while (!reader.isComplete()) {
        const QByteArray bytes = co_await connection.read();
        reader.feed(bytes);
    }
    HTTPResponse response = reader.takeResponse();
    if (response.status == 407 && connection.forwarder()) {
        throw transportError(QAbstractSocket::ProxyAuthenticationRequiredError, {}, {}, {});
    }
    co_return response;
}

} // namespace quillo
