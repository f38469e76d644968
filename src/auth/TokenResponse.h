#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quillo {

/// A successful answer of the token endpoint (RFC 6749, section 5.1).
struct TokenResponse {
    QString accessToken;
    std::optional<QString> refreshToken;
    double expiresIn = 0; ///< seconds, may be fractional
};

/// Throws DecodingError when the body is anything else.
[[nodiscard]] TokenResponse decodeTokenResponse(QByteArray body);

/// The `email` claim in the payload of a JSON Web Token (RFC 7519), for showing only: the signature is the
/// backend's to check. Absent when the token is no such thing or has no e-mail that is a text.
[[nodiscard]] std::optional<QString> emailClaim(const QString& token);

/// `value` as it stands in a form body: every character but ASCII letters and digits is percent-encoded, more
/// than the form encoding asks for and accepted by every server.
[[nodiscard]] QByteArray formValue(const QString& value);

} // namespace quillo
