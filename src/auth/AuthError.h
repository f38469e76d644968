#pragma once

#include "core/LocalizedError.h"

namespace quillo {

using namespace Qt::Literals::StringLiterals;

/// Why signing in, or keeping signed in, failed.
class AuthError final : public LocalizedError {
public:
    [[nodiscard]] static AuthError notSignedIn() { return AuthError(u"Not signed in"_s); }
    [[nodiscard]] static AuthError sessionExpired() {
        return AuthError(u"Session expired — sign in again"_s);
    }
    [[nodiscard]] static AuthError stateMismatch() {
        return AuthError(u"Sign-in rejected (state mismatch)"_s);
    }
    [[nodiscard]] static AuthError badCallback() { return AuthError(u"Sign-in callback was malformed"_s); }
    [[nodiscard]] static AuthError portUnavailable() {
        return AuthError(u"Ports 53682/53683 are in use — close the conflicting app and retry"_s);
    }
    /// The program was built without an identity provider.
    [[nodiscard]] static AuthError noService() {
        return AuthError(u"This build names no sign-in service; put an API key into Settings."_s);
    }
    /// `message` is what the token endpoint answered.
    [[nodiscard]] static AuthError tokenEndpoint(const QString& message) {
        return AuthError(u"Token exchange failed: "_s + message);
    }

private:
    using LocalizedError::LocalizedError;
};

} // namespace quillo
