#pragma once

#include "auth/AuthState.h"
#include "auth/LoopbackListener.h"
#include "core/Clock.h"
#include "core/Published.h"
#include "core/Task.h"
#include "core/TaskScope.h"

#include <QLatin1StringView>
#include <QString>

#include <chrono>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace quillo {

class HTTPSession;
class SecretReading;
class SecretStore;
class Workspace;

/// What the parts of `AuthManager` agree on.
namespace session {

/// Registered with the identity provider as a public client.
inline constexpr QLatin1StringView clientId{"quillo-mac"};

// Accounts in the secret store.
inline const QString refreshTokenAccount = QStringLiteral("oidc_refresh");
inline const QString emailAccount = QStringLiteral("oidc_email");

/// What the user is called when the provider names no e-mail.
inline const QString unnamedUser = QStringLiteral("account");

} // namespace session

/// Keeps the user signed in: exchanges codes and refresh tokens at the identity provider's token endpoint,
/// holds the access token in memory and the refresh token in the secret store, and publishes the state for
/// the views.
///
/// For the main thread; the secret store and the network are waited for without blocking it.
class AuthManager : public ObservableObject {
public:
    /// `identityOrigin` is the provider's scheme and host, without a slash at the end; `idleTimeout` is how
    /// long nothing may arrive from its token endpoint (see `HTTPRequest::idleTimeout`).
    AuthManager(Clock& clock, SecretStore& secrets, HTTPSession& session, const Workspace& workspace,
                QString identityOrigin, std::chrono::milliseconds idleTimeout = std::chrono::seconds(60));
    AuthManager(const AuthManager&) = delete;
    AuthManager& operator=(const AuthManager&) = delete;

    Published<AuthState> state{*this, AuthState::signedOut()};
    /// The last sign-in failure, for the user; absent when a new sign-in begins.
    Published<std::optional<QString>> lastAuthError{*this, std::nullopt};

    [[nodiscard]] bool isSignedIn() const { return state->isSignedIn(); }

    /// Takes up a session that the secret store holds: `signedIn` when it has a refresh token. A store that
    /// cannot be read leaves the state alone. Makes no request.
    ///
    /// After a sign-out nothing is taken up: what the store still holds, because it was locked then, is
    /// deleted instead.
    [[nodiscard]] Task<> restore();

    /// An access token that is good for more than 30 seconds, renewed if need be.
    ///
    /// Throws AuthError: `notSignedIn` without a refresh token, `sessionExpired` when the renewal fails for
    /// whatever reason, which also ends the session. Callers are not joined: two that find the token stale
    /// both renew it.
    [[nodiscard]] Task<QString> validAccessToken();

    /// Signs the user in through their browser (RFC 8252: authorization code with PKCE, the redirect caught
    /// on the loopback interface). Returns at once; `state` tells how it goes, and `lastAuthError` why it did
    /// not. Does nothing while a sign-in is under way, and opens nothing when the identity provider's host
    /// lies in `.example`, where by RFC 2606 nothing exists: it is the default of a build that was not told
    /// of one.
    void signIn();

    /// Ends the session, or the sign-in that is under way, and forgets its secrets. `lastAuthError` stays.
    void signOut();

private:
    using Form = std::vector<std::pair<QByteArray, QString>>;

    /// RFC 6749, section 3.2. Throws AuthError `tokenEndpoint` with the first 200 characters of a refusal's
    /// body; transport and decoding errors pass through.
    [[nodiscard]] Task<> exchange(Form form);

    /// When the sign-in fails, the state is again what the secret store says, or `former` when it cannot be
    /// read.
    [[nodiscard]] Task<> signInFlow(AuthState former);
    [[nodiscard]] Task<> runAuthorizationFlow();

    /// The session that the secret store holds; absent when the store cannot be read.
    [[nodiscard]] Task<std::optional<AuthState>> storedState();

    /// What the secret store holds for the account, or what it has yet to take.
    [[nodiscard]] Task<SecretReading> read(QString account);

    /// Stores the value now, or when a secret store that does not take it has become available.
    void keep(const QString& account, const QString& value);
    [[nodiscard]] Task<> store(QString account, QString value);
    void forgetSecrets();

    Clock& clock;
    SecretStore& secrets;
    HTTPSession& session;
    const Workspace& workspace;
    QString identityOrigin;
    std::chrono::milliseconds exchangeTimeout;
    std::optional<QString> accessToken;
    Clock::Instant accessTokenExpiry = Clock::distantPast;
    /// Counts sessions, so that what a request brings after the sign-out is not taken for the next session's.
    int sessionNumber = 0;
    bool hasSignedOut = false; ///< and not in again since
    /// By account, what the secret store has not taken. A refresh token may be used once (RFC 6749, section
    /// 6), so the one before it is worth nothing any more.
    std::map<QString, QString> unstored;
    Observation storeAvailable;
    LoopbackListener listener;
    TaskScope storing;
    TaskScope flow; // last, so that the sign-in ends before what it uses
};

} // namespace quillo
