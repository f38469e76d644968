#include "net/HTTPSession.h"

#include "net/ResponseReader.h"

#include <utility>

namespace quillo {

using namespace Qt::Literals::StringLiterals;
using Reason = TransportError::Reason;

namespace {

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

/// The request as it goes out, to a server or to a proxy that passes it on.
QByteArray message(const HTTPRequest& request, const QNetworkProxy* forwarder) {
    constexpr auto notOrigin =
        QUrl::RemoveUserInfo | QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment;
    const QByteArray origin = request.url.toEncoded(notOrigin);
    const bool isPost = request.method == HTTPMethod::post;
    QByteArray bytes = (isPost ? "POST " : "GET ") + (forwarder ? origin : QByteArray()) + request.target +
                       " HTTP/1.1\r\nHost: " + origin.sliced(origin.indexOf("//") + 2) +
                       "\r\nConnection: close\r\nAccept-Encoding: gzip\r\nUser-Agent: "
                       "Quillo\r\n";
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

Task<HTTPResponse> HTTPSession::send(HTTPRequest request) {
    requireSendable(request);
    if (request.target.isEmpty()) {
        request.setAddress(request.url.toString(QUrl::FullyEncoded));
    }
    ResponseReader reader(serverName(request.url), request.bodyUse, options.bodyLimit);
    Connection connection(lines, request.url, request.idleTimeout, options.totalTimeout);
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
