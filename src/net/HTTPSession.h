#pragma once

#include "core/Task.h"
#include "net/HTTPMessage.h"
#include "net/TransportError.h"

#include <QList>
#include <QSslCertificate>

#include <memory>

class QNetworkAccessManager;

namespace quillo {

/// Sends HTTP requests, for the main thread only. The one place that knows Qt's network classes and their
/// ways; docs/decisions/http.md lists them.
///
/// What every request may rely on:
/// - Redirects are not followed; they are responses like any other. So a credential reaches no other origin.
/// - Authentication challenges are not answered, and no cookie is kept or sent.
/// - A POST is sent once at most, whatever happens to its connection. A GET may be repeated when its
///   connection ends before the answer.
/// - With `CertificateCheck::none` nothing of the request, neither its connection nor a session ticket,
///   serves another.
/// - Nothing is kept when no request is under way: no connection, no thread, no timer.
class HTTPSession {
public:
    struct Options {
        /// Trusted beside the system's own.
        QList<QSslCertificate> additionalAuthorities;
        /// A body over so many bytes, as sent or decompressed, is an error.
        qint64 bodyLimit = qint64{64} * 1024 * 1024;
    };

    /// The program's session.
    [[nodiscard]] static HTTPSession& shared();

    HTTPSession();
    explicit HTTPSession(Options sessionOptions);
    HTTPSession(const HTTPSession&) = delete;
    HTTPSession& operator=(const HTTPSession&) = delete;
    ~HTTPSession();

    /// Sends the request and waits for the whole response, whatever its status. Throws `TransportError`.
    /// Dropping the task closes the connection. The session may go while its requests run.
    [[nodiscard]] Task<HTTPResponse> send(HTTPRequest request);

private:
    [[nodiscard]] std::shared_ptr<QNetworkAccessManager> managerFor(const HTTPRequest& request);

    Options options;
    /// Shared by the checked GET requests that are under way together.
    std::weak_ptr<QNetworkAccessManager> checkedManager;
};

} // namespace quillo
