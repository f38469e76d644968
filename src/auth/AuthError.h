#pragma once

#include "core/LocalizedError.h"

namespace quillo {

/// Why signing in, or keeping signed in, failed.
class AuthError final : public LocalizedError {
public:
    [[nodiscard]] static AuthError notSignedIn();
    [[nodiscard]] static AuthError sessionExpired();
    [[nodiscard]] static AuthError stateMismatch();
    [[nodiscard]] static AuthError badCallback();
    [[nodiscard]] static AuthError portUnavailable();
    /// `message` is what the token endpoint answered.
    [[nodiscard]] static AuthError tokenEndpoint(const QString& message);

private:
    using LocalizedError::LocalizedError;
};

} // namespace quillo
