#pragma once

#include <QByteArray>
#include <QUrl>

#include <chrono>
#include <vector>

namespace quillo {

enum class HTTPMethod { get, post };

/// Whether the server has to prove who it is.
enum class CertificateCheck {
    /// The certificate must be valid, for this host, and signed by an authority that the system trusts.
    required,
    /// Any certificate for any host will do, for this one request.
    none,
};

/// One request as an operation states it. What HTTP itself needs (Host, Content-Length, …) is added on
/// sending.
struct HTTPRequest {
    struct Header {
        QByteArray name;
        QByteArray value;
    };

    HTTPMethod method = HTTPMethod::get;
    /// `http` or `https`, with a host. A user name, a password and a fragment are not sent.
    QUrl url;
    std::vector<Header> headers;
    /// Only with `post`.
    QByteArray body;
    /// How long nothing may arrive: the wait for the answer to begin, connecting included, and then each
    /// pause in its body.
    std::chrono::milliseconds idleTimeout = std::chrono::seconds(60);
    CertificateCheck certificateCheck = CertificateCheck::required;

    /// Replaces every header of that name, whatever its case.
    void setHeader(const QByteArray& name, const QByteArray& value);
};

struct HTTPResponse {
    /// The status code, -1 for an answer that has none.
    int status = -1;
    /// Decompressed. Shorter than announced or with a compression cut short it is an error instead; a chunked
    /// body without compression that ends early may pass for whole, so its reader has to know where it ends.
    QByteArray body;
};

} // namespace quillo
