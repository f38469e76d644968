#pragma once

#include <QString>

#include <optional>

namespace quillo {

/// The `email` claim in the payload of a JSON Web Token (RFC 7519), for showing only: the signature is the
/// backend's to check. Absent when the token is no such thing or has no e-mail that is a text.
[[nodiscard]] std::optional<QString> emailClaim(const QString& token);

} // namespace quillo
