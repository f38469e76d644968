#pragma once

#include <QByteArray>
#include <QString>

namespace quillo {

/// The code verifier of one sign-in and its challenge, by Proof Key for Code Exchange (RFC 7636, method
/// "S256").
struct ProofKey {
    QString verifier;  ///< 64 characters of base64url, 48 random bytes
    QString challenge; ///< 43 characters of base64url

    [[nodiscard]] static ProofKey generate();
};

/// `bytes` random bytes of the system's secure generator, in base64url without padding (RFC 4648, section 5).
[[nodiscard]] QString randomText(qsizetype bytes);

/// The challenge that belongs to a verifier (RFC 7636, section 4.2).
[[nodiscard]] QString codeChallenge(const QString& verifier);

} // namespace quillo
