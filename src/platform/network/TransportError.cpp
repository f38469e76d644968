#include "platform/network/TransportError.h"

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

TransportError transportError(QAbstractSocket::SocketError error, const QString& text,
                              const QList<QSslError>& faults, const QString& server) {
    if (!faults.isEmpty()) {
        return {Reason::untrusted,
                u"The certificate of %1 is not trusted: %2."_s.arg(server, certificateFault(faults))};
    }
    switch (error) {
    case QAbstractSocket::ConnectionRefusedError:
        return {Reason::unreachable, u"%1 refused the connection."_s.arg(server)};
    case QAbstractSocket::HostNotFoundError:
        return {Reason::unreachable, u"The server %1 was not found."_s.arg(server)};
    case QAbstractSocket::SocketTimeoutError:
        return {Reason::timedOut, u"The request timed out."_s};
    case QAbstractSocket::SslHandshakeFailedError:
        return {Reason::untrusted, u"No secure connection to %1 could be made."_s.arg(server)};
    case QAbstractSocket::RemoteHostClosedError:
        return {Reason::interrupted, u"%1 closed the connection without an answer."_s.arg(server)};
    case QAbstractSocket::ProxyConnectionRefusedError:
    case QAbstractSocket::ProxyConnectionClosedError:
    case QAbstractSocket::ProxyConnectionTimeoutError:
    case QAbstractSocket::ProxyNotFoundError:
        return {Reason::unreachable, u"The proxy server cannot be reached."_s};
    case QAbstractSocket::ProxyProtocolError:
        return {Reason::unreachable, u"The proxy server refused the connection to %1."_s.arg(server)};
    case QAbstractSocket::ProxyAuthenticationRequiredError:
        return {Reason::unreachable, u"The proxy server asks for a password."_s};
    default:
        return {Reason::other, u"The request to %1 failed: %2."_s.arg(server, text)};
    }
}

} // namespace quillo
