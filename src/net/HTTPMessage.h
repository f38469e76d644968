#pragma once

#include "platform/network/Connection.h"

#include <QByteArray>
#include <QUrl>

#include <chrono>
#include <vector>

namespace quillo {

enum class HTTPMethod { get, post };

/// Of which responses the body is read. Of the others the connection is closed after the head.
enum class BodyUse {
    /// Of a refusal (any status outside 200 to 299) only the beginning, for showing, and none that cannot be
    /// decoded.
    always,
    onSuccess,
    never,
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
    /// The request target as it goes out; when empty that of `url`, in which QUrl has resolved some escapes.
    QByteArray target = {};
    std::vector<Header> headers = {};
    /// Only with `post`.
    QByteArray body = {};
    BodyUse bodyUse = BodyUse::always;
    /// How long nothing may happen: no turn to connect, no connection, no byte sent or received.
    std::chrono::milliseconds idleTimeout = std::chrono::seconds(60);
    CertificateCheck certificateCheck = CertificateCheck::required;

    /// Sets `url`, and `target` as it is written there. What no target may contain is escaped.
    void setAddress(const QString& address);

    /// Replaces every header of that name, whatever its case.
    void setHeader(const QByteArray& name, const QByteArray& value);
};

struct HTTPResponse {
    int status = 0;
    /// Decompressed, and whole unless it is that of a refusal; empty where the request has no use for it.
    QByteArray body = {};
};

} // namespace quillo
