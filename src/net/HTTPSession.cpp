#include "net/HTTPSession.h"

#include "core/Awaiters.h"
#include "net/ResponseReader.h"

#include <QIODevice>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslConfiguration>

#include <algorithm>
#include <cstring>
#include <utility>

namespace quillo {

using namespace Qt::Literals::StringLiterals;
using Reason = TransportError::Reason;

namespace {

/// A request body that can be read once. Qt repeats any request, a POST too, when the connection ends before
/// the answer, and first rewinds the body; this one cannot be rewound, so Qt gives up instead.
class OnceBody final : public QIODevice {
public:
    explicit OnceBody(QByteArray contents) : bytes(std::move(contents)) { open(ReadOnly | Unbuffered); }

    [[nodiscard]] bool isSequential() const override { return true; }
    [[nodiscard]] bool reset() override { return false; }
    [[nodiscard]] bool atEnd() const override { return position == bytes.size(); }
    [[nodiscard]] qint64 bytesAvailable() const override { return bytes.size() - position; }

protected:
    qint64 readData(char* data, qint64 maxSize) override {
        const auto size = std::min<qint64>(maxSize, bytes.size() - position);
        if (size == 0) {
            return -1; // the end, for a sequential device
        }
        std::memcpy(data, bytes.constData() + position, static_cast<std::size_t>(size));
        position += size;
        return size;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray bytes;
    qint64 position = 0;
};

/// Qt would also read files and data URLs.
void requireSendableAddress(const QUrl& url) {
    if (url.scheme() != "http"_L1 && url.scheme() != "https"_L1) {
        throw TransportError(Reason::badAddress, u"The address must begin with http:// or https://."_s);
    }
    if (url.host().isEmpty()) {
        throw TransportError(Reason::badAddress, u"The address names no server."_s);
    }
}

/// The address that makes Qt ask for the target of `url` as it is written. Qt writes the target with its path
/// normalised: it drops one slash of several at the start, which one more makes up for, and resolves "." and
/// "..", which would ask for another path than the one that was given.
QUrl addressForQt(QUrl url) {
    url.setUserInfo({}); // Qt would answer a challenge with it
    url.setFragment({});
    constexpr auto target = QUrl::RemoveScheme | QUrl::RemoveAuthority | QUrl::FullyEncoded;
    const QByteArray wanted = url.toEncoded(target);
    if (url.path().startsWith("//"_L1)) {
        url.setPath(u'/' + url.path(QUrl::FullyEncoded), QUrl::StrictMode);
    }
    if (url.toEncoded(target | QUrl::NormalizePathSegments) != wanted) {
        throw TransportError(Reason::badAddress,
                             u"The address must not contain \".\" or \"..\" as a step."_s);
    }
    return url;
}

/// Qt sends a value with a line break as two headers. The text does not repeat the value, which may be
/// secret.
void requireSendableHeaders(const HTTPRequest& request) {
    for (const auto& header : request.headers) {
        for (const char character : header.value) {
            if (character == '\r' || character == '\n' || character == '\0') {
                throw TransportError(Reason::badHeader,
                                     u"The value for %1 contains a line break and was not sent."_s.arg(
                                         QString::fromUtf8(header.name)));
            }
        }
    }
}

QSslConfiguration tlsConfiguration(CertificateCheck check, const QList<QSslCertificate>& authorities) {
    auto configuration = QSslConfiguration::defaultConfiguration();
    if (check == CertificateCheck::none) {
        configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    } else if (!authorities.isEmpty()) {
        configuration.addCaCertificates(authorities);
    }
    return configuration;
}

QNetworkRequest toQt(const HTTPRequest& request, const QList<QSslCertificate>& authorities) {
    QNetworkRequest converted(addressForQt(request.url));
    converted.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    converted.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    converted.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    // Without this Qt answers an NTLM or Negotiate challenge with a second request.
    converted.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    // With HTTP/2 all requests to a server share one connection, so no request could have one of its own.
    converted.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    converted.setTransferTimeout(static_cast<int>(request.idleTimeout.count()));
    // Naming the encodings keeps Qt from decompressing: it takes a body that is cut short for a whole one.
    converted.setRawHeader("Accept-Encoding", "gzip");
    converted.setRawHeader("User-Agent", "Quillo");
    for (const auto& header : request.headers) {
        converted.setRawHeader(header.name, header.value);
    }
    if (request.url.scheme() == "https"_L1) {
        converted.setSslConfiguration(tlsConfiguration(request.certificateCheck, authorities));
    }
    return converted;
}

QNetworkReply* start(QNetworkAccessManager& manager, QNetworkRequest request, HTTPMethod method,
                     OnceBody& body) {
    if (method == HTTPMethod::get) {
        return manager.get(request);
    }
    request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    request.setHeader(QNetworkRequest::ContentLengthHeader, body.bytesAvailable());
    // `post` would add a Content-Type of its own where the address has a query.
    return manager.sendCustomRequest(request, "POST", &body);
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
    requireSendableAddress(request.url);
    requireSendableHeaders(request);
    const auto manager = managerFor(request);
    OnceBody body(std::move(request.body));
    std::unique_ptr<QNetworkReply> reply(
        start(*manager, toQt(request, options.additionalAuthorities), request.method, body));
    ResponseReader reader(std::move(reply), options.bodyLimit);
    UntilEmitted ended(&reader, &ResponseReader::ended);
    co_await ended;
    co_return reader.takeResponse();
}

std::shared_ptr<QNetworkAccessManager> HTTPSession::managerFor(const HTTPRequest& request) {
    if (request.method == HTTPMethod::post || request.certificateCheck == CertificateCheck::none) {
        return std::make_shared<QNetworkAccessManager>();
    }
    auto manager = checkedManager.lock();
    if (!manager) {
        manager = std::make_shared<QNetworkAccessManager>();
        checkedManager = manager;
    }
    return manager;
}

} // namespace quillo
