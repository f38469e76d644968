#include "auth/AuthError.h"

using namespace Qt::Literals::StringLiterals;

namespace quillo {

AuthError AuthError::notSignedIn() {
    return AuthError(u"Not signed in"_s);
}

AuthError AuthError::sessionExpired() {
    return AuthError(u"Session expired — sign in again"_s);
}

AuthError AuthError::stateMismatch() {
    return AuthError(u"Sign-in rejected (state mismatch)"_s);
}

AuthError AuthError::badCallback() {
    return AuthError(u"Sign-in callback was malformed"_s);
}

AuthError AuthError::portUnavailable() {
    return AuthError(u"Ports 53682/53683 are in use — close the conflicting app and retry"_s);
}

AuthError AuthError::tokenEndpoint(const QString& message) {
    return AuthError(u"Token exchange failed: "_s + message);
}

} // namespace quillo
