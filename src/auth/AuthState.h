#pragma once

#include <QString>

#include <utility>
#include <variant>

namespace quillo {

/// Whether the user is signed in through the browser.
class AuthState {
public:
    [[nodiscard]] static AuthState signedOut() { return AuthState(SignedOut{}); }
    [[nodiscard]] static AuthState signingIn() { return AuthState(SigningIn{}); }
    /// `email` is what the user is shown: their address, or "account" when the provider names none.
    [[nodiscard]] static AuthState signedIn(QString email) { return AuthState(SignedIn{std::move(email)}); }

    [[nodiscard]] bool isSignedOut() const noexcept { return std::holds_alternative<SignedOut>(state); }
    [[nodiscard]] bool isSigningIn() const noexcept { return std::holds_alternative<SigningIn>(state); }
    [[nodiscard]] bool isSignedIn() const noexcept { return std::holds_alternative<SignedIn>(state); }

    /// The signed-in user's address; empty in the other states.
    [[nodiscard]] QString email() const {
        const auto* user = std::get_if<SignedIn>(&state);
        return user ? user->email : QString();
    }

    [[nodiscard]] bool operator==(const AuthState&) const = default;

private:
    struct SignedOut {
        [[nodiscard]] bool operator==(const SignedOut&) const = default;
    };
    struct SigningIn {
        [[nodiscard]] bool operator==(const SigningIn&) const = default;
    };
    struct SignedIn {
        QString email;
        [[nodiscard]] bool operator==(const SignedIn&) const = default;
    };
    using State = std::variant<SignedOut, SigningIn, SignedIn>;

    explicit AuthState(State chosen) : state(std::move(chosen)) {}

    State state;
};

} // namespace quillo
