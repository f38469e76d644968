#include "platform/network/Connection.h"

#include "core/WorkQueue.h"

#include <QNetworkProxyFactory>
#include <QNetworkProxyQuery>
#include <QSslConfiguration>

#include <algorithm>
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

} // namespace

Connection::Connection(std::shared_ptr<Lines> allLines, const QUrl& address, std::chrono::milliseconds pause,
                       std::chrono::milliseconds totalTimeout)
    : lines(std::move(allLines)),
      url(address),
      origin(u"%1://%2:%3"_s.arg(url.scheme(), url.host()).arg(portOf(url))),
      idleTimeout(pause),
      end(totalTimeout) {
    (*lines)[origin].push_back(this);
    patience.setSingleShot(true);
    patience.callOnTimeout([this] { wake(); });
    allow(idleTimeout);
}

Connection::~Connection() {
    auto& line = lines->at(origin);
    std::erase(line, this);
    if (std::ssize(line) >= connectionsToAnOrigin) {
        line[connectionsToAnOrigin - 1]->wake();
    } else if (line.empty()) {
        lines->erase(origin);
    }
}

Task<> Connection::open(CertificateCheck check, QList<QSslCertificate> authorities) {
    const auto& line = lines->at(origin);
    while (std::ranges::find(line, this) - line.begin() >= connectionsToAnOrigin) {
        co_await somethingNew();
    }
    auto route = lookUp();
    while (!route.isFinished()) {
        co_await somethingNew();
    }
    Route found = route.takeResult();
    co_await connectTo(std::move(found));
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

Task<QByteArray> Connection::read() {
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

const QNetworkProxy* Connection::forwarder() const {
    const bool speaksHTTP =
        proxy.type() == QNetworkProxy::HttpProxy || proxy.type() == QNetworkProxy::HttpCachingProxy;
    return url.scheme() == "http"_L1 && speaksHTTP ? &proxy : nullptr;
}

Task<Connection::Route> Connection::lookUp() {
    WorkQueue worker; // leaves behind what takes too long
    auto work = worker.run([address = url] { return findRoute(address); });
    auto route = co_await work;
    wake();
    co_return route;
}

Connection::Route Connection::findRoute(const QUrl& url) {
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

Task<> Connection::connectTo(Route route) {
    proxy = route.proxy;
    const bool isDirect = proxy.hostName().isEmpty();
    auto last =
        transportError(isDirect ? QAbstractSocket::HostNotFoundError : QAbstractSocket::ProxyNotFoundError,
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

bool Connection::isConnecting() const {
    return socket->state() != State::ConnectedState && socket->state() != State::UnconnectedState;
}

void Connection::makeSocket() {
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

Task<> Connection::wakeUp() {
    auto& next = awaited.emplace();
    co_await next;
}

Task<> Connection::somethingNew() {
    co_await wakeUp();
    if (isOver()) {
        throw TransportError(failure());
    }
}

void Connection::wake() {
    if (awaited) {
        awaited->fire();
    }
}

void Connection::allow(std::chrono::milliseconds pause) {
    patience.start(std::min(pause, std::chrono::milliseconds(end.remainingTime())));
}

TransportError Connection::failure() const {
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

} // namespace quillo
