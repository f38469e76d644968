#pragma once

#include "core/LocalizedError.h"

#include <QAbstractSocket>
#include <QSslError>

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
        /// Nothing happened for as long as the request allows, or it was not over in ten minutes.
        timedOut,
        /// The server's certificate was refused, or no TLS connection came about.
        untrusted,
        /// The connection ended before the answer, or in the middle of it.
        interrupted,
        /// The head or the body, as sent or decompressed, is over its bound.
        tooLarge,
        /// No HTTP response, or one whose encoding is damaged or unknown.
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

/// Why a socket is not connected (any more) to `server`. `text` is its own word for the error, and `faults`
/// are what it found wrong with the certificate, if anything.
[[nodiscard]] TransportError transportError(QAbstractSocket::SocketError error, const QString& text,
                                            const QList<QSslError>& faults, const QString& server);

} // namespace quillo
