#pragma once

#include "auth/LoopbackCallback.h"
#include "core/Task.h"

#include <QTcpServer>

#include <deque>
#include <exception>
#include <memory>
#include <variant>

namespace quillo {

/// Catches the redirects of sign-ins, one after the other, on the loopback interface (RFC 8252, section 7.3).
///
/// It serves the first connection that says something and holds silent ones, which browsers open on
/// speculation, without taking them for the redirect. A request is what has come by the end of its first
/// line, by 16,384 bytes, by the end of the connection's sending half, or two seconds after its first byte.
/// The first request decides; then the port is free again. Connections accepted before are answered all the
/// same, also while a later sign-in waits, but change nothing.
class LoopbackListener final : private QTcpServer {
public:
    LoopbackListener();
    ~LoopbackListener() override;

    /// Begins to wait for another redirect, on 127.0.0.1 only. False when the port is taken.
    [[nodiscard]] bool listen(quint16 port);

    /// The redirect, which may never come: there is no time limit. Throws AuthError `badCallback` when the
    /// first request is no proper redirect, LocalizedError when the listener fails. To be called once after
    /// each `listen`.
    [[nodiscard]] Task<LoopbackCallback> waitForCallback();

    /// Frees the port and closes every connection at once. Whoever waits for the callback is not told.
    void close();

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    class Connection;
    struct Wait;

    void decide(Wait& wait, const std::variant<LoopbackCallback, std::exception_ptr>& result);

    std::shared_ptr<Wait> present; ///< of the last `listen`
    std::unique_ptr<QObject> connections = std::make_unique<QObject>();
    std::deque<Connection*> silent;
};

} // namespace quillo
