#pragma once

#include <QString>

#include <utility>

namespace quillo {

/// Whether the user is signed in through the browser.
class AuthState {
public:
    [[nodiscard]] static AuthState signedOut() { return AuthState(Kind::signedOut); }
    [[nodiscard]] static AuthState signingIn() { return AuthState(Kind::signingIn); }
    /// `email` is what the user is shown: their address, or "account" when the provider names none.
    [[nodiscard]] static AuthState signedIn(QString email) {
        return AuthState(Kind::signedIn, std::move(email));
    }

    [[nodiscard]] bool isSignedOut() const noexcept { return kind == Kind::signedOut; }
    [[nodiscard]] bool isSigningIn() const noexcept { return kind == Kind::signingIn; }
    [[nodiscard]] bool isSignedIn() const noexcept { return kind == Kind::signedIn; }

    /// The signed-in user's address; empty in the other states.
    [[nodiscard]] const QString& email() const noexcept { return address; }

    [[nodiscard]] bool operator==(const AuthState&) const = default;

private:
    enum class Kind { signedOut, signingIn, signedIn };

    explicit AuthState(Kind what, QString email = {}) : kind(what), address(std::move(email)) {}

    Kind kind;
    QString address;
};

} // namespace quillo
