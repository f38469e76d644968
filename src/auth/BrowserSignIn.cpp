#include "auth/AuthError.h"
#include "auth/AuthManager.h"
#include "auth/EmailClaim.h"
#include "auth/LoopbackListener.h"
#include "auth/ProofKey.h"
#include "auth/SessionConstants.h"
#include "platform/desktop/Workspace.h"
#include "platform/secrets/SecretStore.h"

#include <QUrl>
#include <QUrlQuery>

#include <array>

/// Signing in through the browser: further members of AuthManager.
namespace quillo {

namespace {

constexpr auto authorizationPath = QLatin1StringView("/realms/quillo/protocol/openid-connect/auth");
constexpr auto scope = QLatin1StringView("openid profile email offline_access");

/// The redirect URIs registered with the identity provider name these ports; tried in this order.
constexpr std::array<quint16, 2> callbackPorts{53682, 53683};

bool namesNoService(const QString& identityOrigin) {
    const auto host = QUrl(identityOrigin, QUrl::StrictMode).host();
    return host.endsWith(QLatin1StringView(".example")) || host.endsWith(QLatin1StringView(".example."));
}

QUrl authorizationUrl(const QString& identityOrigin, const QString& redirectUri, const QString& challenge,
                      const QString& state) {
    QUrlQuery query;
    for (const auto& [name, value] : std::initializer_list<std::pair<QString, QString>>{
             {QStringLiteral("response_type"), QStringLiteral("code")},
             {QStringLiteral("client_id"), session::clientId},
             {QStringLiteral("redirect_uri"), redirectUri},
             {QStringLiteral("scope"), scope},
             {QStringLiteral("code_challenge"), challenge},
             {QStringLiteral("code_challenge_method"), QStringLiteral("S256")},
             {QStringLiteral("state"), state},
         }) {
        query.addQueryItem(name, value);
    }
    QUrl url(identityOrigin + authorizationPath, QUrl::StrictMode);
    url.setQuery(query);
    return url;
}

} // namespace

void AuthManager::signIn() {
    if (state->isSigningIn()) {
        return;
    }
    if (namesNoService(identityOrigin)) {
        lastAuthError = errorDescription(AuthError::noService());
        return;
    }
    lastAuthError = std::nullopt;
    auto former = state.get();
    state = AuthState::signingIn();
    flow.spawnLater([this, former = std::move(former)] { return signInFlow(former); });
}

Task<> AuthManager::signInFlow(AuthState former) {
    // A sign-out cancels the flow, but what had already ended its wait then may go on once more.
    const auto number = sessionNumber;
    try {
        co_await runAuthorizationFlow();
        co_return;
    } catch (const std::exception& error) {
        if (number != sessionNumber) {
            co_return;
        }
        lastAuthError = errorDescription(error);
    }
    const auto refreshToken = co_await secrets.get(session::refreshTokenAccount);
    const auto email = co_await secrets.get(session::emailAccount);
    if (number != sessionNumber) {
        co_return;
    }
    if (refreshToken.isUnavailable()) {
        state = std::move(former);
        co_return;
    }
    state = refreshToken.value() ? AuthState::signedIn(email.value().value_or(session::unnamedUser))
                                 : AuthState::signedOut();
}

Task<> AuthManager::runAuthorizationFlow() {
    const auto number = sessionNumber;
    const auto proofKey = ProofKey::generate();
    const auto expectedState = randomText(24);
    std::unique_ptr<LoopbackListener> opened;
    quint16 port = 0;
    for (const auto candidate : callbackPorts) {
        opened = LoopbackListener::open(candidate);
        if (opened) {
            port = candidate;
            break;
        }
    }
    if (!opened) {
        throw AuthError::portUnavailable();
    }
    listener = std::move(opened);
    const auto redirectUri = QStringLiteral("http://127.0.0.1:%1/callback").arg(port);
    workspace.open(authorizationUrl(identityOrigin, redirectUri, proofKey.challenge, expectedState));
    const auto callback = co_await listener->waitForCallback();
    if (number != sessionNumber) {
        co_return;
    }
    if (callback.state != expectedState) {
        throw AuthError::stateMismatch();
    }
    Form form{{"grant_type", QStringLiteral("authorization_code")},
              {"code", callback.code},
              {"redirect_uri", redirectUri},
              {"client_id", session::clientId},
              {"code_verifier", proofKey.verifier}};
    co_await exchange(std::move(form));
    if (number != sessionNumber) {
        co_return;
    }
    const auto email = emailClaim(*accessToken).value_or(session::unnamedUser);
    secrets.enqueueSet(session::emailAccount, email);
    state = AuthState::signedIn(email);
}

} // namespace quillo
