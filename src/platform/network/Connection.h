#pragma once

#include "core/Awaiters.h"
#include "core/Task.h"
#include "platform/network/TransportError.h"

#include <QDeadlineTimer>
#include <QHostAddress>
#include <QNetworkProxy>
#include <QSslCertificate>
#include <QSslSocket>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace quillo {

/// Whether the server has to prove who it is.
enum class CertificateCheck {
    /// The certificate must be valid, for this host, and signed by an authority
    /// that the system trusts.
    required,
    /// Any certificate for any host will do, for this one connection.
    none,
};

/// A connection to the server of an http or https address, for one use and for
/// the coroutine that owns it. Destroying it closes it at once, in any state,
/// and waits for nothing. Its operations throw `TransportError`, also when the
/// time is up.
class Connection {
public:
    /// For each origin its connections in the order in which they were wanted;
    /// the first six are or may be open, the rest wait their turn.
    using Lines = std::map<QString, std::vector<Connection*>>;

    /// `idleTimeout` is how long nothing may happen: no turn, no connection, no
    /// byte sent or received.
    Connection(std::shared_ptr<Lines> lines, const QUrl& url, std::chrono::milliseconds idleTimeout,
               std::chrono::milliseconds totalTimeout);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    /// Waits for its turn and connects, by way of the proxy that the desktop or
    /// the environment names. With https the server has then proved who it is, as
    /// far as that is checked; `authorities` are trusted beside the system's own.
    /// Nothing of TLS is shared with any other connection.
    [[nodiscard]] Task<> open(CertificateCheck check, QList<QSslCertificate> authorities);

    void write(const QByteArray& bytes) { socket->write(bytes); }

    /// The next few bytes; none at the end. Leaves the event loop its turns.
    [[nodiscard]] Task<QByteArray> read();

    /// The proxy that has to be told of the server in the request itself, if
    /// there is one: HTTP proxies tunnel only what is encrypted.
    [[nodiscard]] const QNetworkProxy* forwarder() const;

private:
    /// Where to connect to: the server, or the proxy if that has a name.
    struct Route {
        QNetworkProxy proxy;
        QList<QHostAddress> addresses;
    };

    [[nodiscard]] Task<Route> lookUp();
    /// Asks the desktop, the environment and the name service, which may all take
    /// long.
    [[nodiscard]] static Route findRoute(const QUrl& url);
    [[nodiscard]] Task<> connectTo(Route route);
    [[nodiscard]] bool isConnecting() const;
    void makeSocket();
    /// Waits until the socket, the time, the line or the look-up comes on.
    [[nodiscard]] Task<> wakeUp();
    [[nodiscard]] Task<> somethingNew();
    void wake();
    void allow(std::chrono::milliseconds pause);
    [[nodiscard]] bool isOver() const { return !patience.isActive() || end.hasExpired(); }
    [[nodiscard]] TransportError failure() const;

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

} // namespace quillo
