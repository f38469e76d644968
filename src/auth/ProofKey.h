#pragma once

#include <QByteArray>
#include <QString>

namespace quillo {

/// `bytes` random bytes of the system's secure generator, in base64url without padding (RFC 4648, section 5):
/// a state, or with 48 bytes the code verifier of one sign-in.
[[nodiscard]] QString randomText(qsizetype bytes);

/// The challenge that belongs to a verifier, by Proof Key for Code Exchange (RFC 7636, method "S256").
[[nodiscard]] QString codeChallenge(const QString& verifier);

} // namespace quillo
