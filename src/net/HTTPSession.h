#pragma once

#include "core/Task.h"
#include "net/HTTPMessage.h"
#include "platform/network/Connection.h"

#include <QList>
#include <QSslCertificate>

#include <chrono>
#include <memory>
#include <utility>

namespace quillo {

/// Sends HTTP/1.1 requests, for the main thread only.
///
/// What every request may rely on:
/// - It is sent once at most, on a connection of its own. Connections, TLS sessions and trust serve no other.
/// - Redirects are not followed; they are responses like any other. So a credential reaches no other origin.
/// - Authentication challenges are not answered, and no cookie is kept or sent.
/// - Six requests to one origin are under way at most, the rest wait their turn.
/// - Nothing is kept when no request is under way: no connection, no thread, no timer.
class HTTPSession {
public:
    struct Options {
        /// Trusted beside the system's own.
        QList<QSslCertificate> additionalAuthorities = {};
        /// A body over so many bytes, as sent or decompressed, is an error.
        qint64 bodyLimit = qint64{64} * 1024 * 1024;
        /// By then a request is over, whatever still happens.
        std::chrono::milliseconds totalTimeout = std::chrono::minutes(10);
    };

    /// The program's session.
    [[nodiscard]] static HTTPSession& shared();

    HTTPSession() : HTTPSession(Options{}) {}
    explicit HTTPSession(Options sessionOptions) : options(std::move(sessionOptions)) {}
    HTTPSession(const HTTPSession&) = delete;
    HTTPSession& operator=(const HTTPSession&) = delete;

    /// Sends the request and waits for the response, whatever its status, as far as its body is wanted.
    /// Throws `TransportError`. Dropping the task closes the connection at once, in any state, and waits for
    /// nothing. The session may go while its requests run.
    [[nodiscard]] Task<HTTPResponse> send(HTTPRequest request);

private:
    Options options;
    std::shared_ptr<Connection::Lines> lines = std::make_shared<Connection::Lines>();
};

} // namespace quillo
