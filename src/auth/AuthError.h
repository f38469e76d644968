#pragma once

#include "core/LocalizedError.h"

namespace quillo {

/// Why signing in, or keeping signed in, failed.
class AuthError final : public LocalizedError {
public:
    enum class Kind {
        notSignedIn,
        sessionExpired,
        stateMismatch,
        badCallback,
        portUnavailable,
        noService,
        tokenEndpoint
    };

    [[nodiscard]] static AuthError notSignedIn();
    [[nodiscard]] static AuthError sessionExpired();
    [[nodiscard]] static AuthError stateMismatch();
    [[nodiscard]] static AuthError badCallback();
    [[nodiscard]] static AuthError portUnavailable();
    /// The program was built without an identity provider.
    [[nodiscard]] static AuthError noService();
    /// `message` is what the token endpoint answered.
    [[nodiscard]] static AuthError tokenEndpoint(const QString& message);

    [[nodiscard]] Kind kind() const noexcept { return cause; }

private:
    AuthError(Kind why, const QString& text) : LocalizedError(text), cause(why) {}

    Kind cause;
};

} // namespace quillo
