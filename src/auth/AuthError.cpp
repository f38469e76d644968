#include "auth/AuthError.h"

namespace quillo {

AuthError AuthError::notSignedIn() {
    return {Kind::notSignedIn, QStringLiteral("Not signed in")};
}

AuthError AuthError::sessionExpired() {
    return {Kind::sessionExpired, QStringLiteral("Session expired — sign in again")};
}

AuthError AuthError::stateMismatch() {
    return {Kind::stateMismatch, QStringLiteral("Sign-in rejected (state mismatch)")};
}

AuthError AuthError::badCallback() {
    return {Kind::badCallback, QStringLiteral("Sign-in callback was malformed")};
}

AuthError AuthError::portUnavailable() {
    return {Kind::portUnavailable,
            QStringLiteral("Ports 53682/53683 are in use — close the conflicting app and retry")};
}

AuthError AuthError::noService() {
    return {Kind::noService,
            QStringLiteral("This build names no sign-in service; put an API key into Settings.")};
}

AuthError AuthError::tokenEndpoint(const QString& message) {
    return {Kind::tokenEndpoint, QStringLiteral("Token exchange failed: ") + message};
}

} // namespace quillo
