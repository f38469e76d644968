#pragma once

#include "core/LocalizedError.h"

#include <QList>
#include <QSslError>

class QNetworkReply;
class QUrl;

namespace quillo {

/// Why a request got no answer, or no whole one. The text names the server and never a secret.
class TransportError : public LocalizedError {
public:
    enum class Reason {
        /// Not an address that a request may go to; nothing was sent.
        badAddress,
        /// A header that cannot be sent; nothing was sent.
        badHeader,
        /// The server was not found, refused the connection or cannot be reached.
        unreachable,
        /// Nothing arrived for as long as the request allows.
        timedOut,
        /// The server's certificate was refused, or no TLS connection came about.
        untrusted,
        /// The connection ended before the answer, or in the middle of it.
        interrupted,
        /// The body, as sent or decompressed, is over the bound.
        tooLarge,
        /// The body's compression is damaged, cut short or unknown.
        damaged,
        other,
    };

    TransportError(Reason cause, const QString& text) : LocalizedError(text), why(cause) {}

    [[nodiscard]] Reason reason() const noexcept { return why; }

private:
    Reason why;
};

/// The server that an address names, for texts: its host, and its port where it is not the scheme's own.
[[nodiscard]] QString serverName(const QUrl& url);

/// The error of a reply that failed. `certificateErrors` are what was found wrong with the server's
/// certificate, if anything.
[[nodiscard]] TransportError transportError(const QNetworkReply& reply,
                                            const QList<QSslError>& certificateErrors);

} // namespace quillo
