#include "net/TransportError.h"

#include <QNetworkReply>
#include <QUrl>

#include <array>

namespace quillo {

using namespace Qt::Literals::StringLiterals;
using Reason = TransportError::Reason;

namespace {

struct CertificateFault {
    QSslError::SslError error;
    QLatin1StringView text;
};

/// The most telling first.
constexpr std::array certificateFaults{
    CertificateFault{QSslError::CertificateRevoked, "it has been revoked"_L1},
    CertificateFault{QSslError::CertificateExpired, "it has expired"_L1},
    CertificateFault{QSslError::CertificateNotYetValid, "it is not valid yet"_L1},
    CertificateFault{QSslError::HostNameMismatch, "it is for another server"_L1},
    CertificateFault{QSslError::SelfSignedCertificate, "it is self-signed"_L1},
    CertificateFault{QSslError::SelfSignedCertificateInChain, "its issuer is unknown"_L1},
    CertificateFault{QSslError::UnableToGetLocalIssuerCertificate, "its issuer is unknown"_L1},
    CertificateFault{QSslError::UnableToGetIssuerCertificate, "its issuer is unknown"_L1},
    CertificateFault{QSslError::UnableToVerifyFirstCertificate, "its issuer is unknown"_L1},
    CertificateFault{QSslError::CertificateUntrusted, "its issuer is unknown"_L1},
};

QString certificateFault(const QList<QSslError>& errors) {
    for (const auto& fault : certificateFaults) {
        for (const auto& error : errors) {
            if (error.error() == fault.error) {
                return fault.text;
            }
        }
    }
    return errors.first().errorString();
}

} // namespace

QString serverName(const QUrl& url) {
    QString host = url.host();
    if (host.contains(u':')) {
        host = u'[' + host + u']';
    }
    return url.port() < 0 ? host : u"%1:%2"_s.arg(host).arg(url.port());
}

TransportError transportError(const QNetworkReply& reply, const QList<QSslError>& certificateErrors) {
    const QString server = serverName(reply.url());
    if (!certificateErrors.isEmpty()) {
        return {Reason::untrusted, u"The certificate of %1 is not trusted: %2."_s.arg(
                                       server, certificateFault(certificateErrors))};
    }
    switch (reply.error()) {
    case QNetworkReply::ConnectionRefusedError:
        return {Reason::unreachable, u"%1 refused the connection."_s.arg(server)};
    case QNetworkReply::HostNotFoundError:
        return {Reason::unreachable, u"The server %1 was not found."_s.arg(server)};
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError: // how Qt ends a request whose transfer timeout has passed
        return {Reason::timedOut, u"The request timed out."_s};
    case QNetworkReply::SslHandshakeFailedError:
        return {Reason::untrusted, u"No secure connection to %1 could be made."_s.arg(server)};
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::ContentReSendError: // Qt wanted to repeat a request that goes out once only
        if (reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid()) {
            return {Reason::interrupted, u"The answer from %1 was cut short."_s.arg(server)};
        }
        return {Reason::interrupted, u"%1 closed the connection without an answer."_s.arg(server)};
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyTimeoutError:
        return {Reason::unreachable, u"The proxy server cannot be reached."_s};
    case QNetworkReply::ProxyAuthenticationRequiredError:
        return {Reason::unreachable, u"The proxy server asks for a password."_s};
    default:
        return {Reason::other, u"The request to %1 failed: %2."_s.arg(server, reply.errorString())};
    }
}

} // namespace quillo
