#include "auth/AuthError.h"
#include "auth/AuthManager.h"
#include "auth/ProofKey.h"
#include "auth/TokenResponse.h"
#include "platform/desktop/Workspace.h"
#include "platform/secrets/SecretStore.h"

#include <QUrl>
#include <QUrlQuery>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

/// Signing in through the browser: further members of AuthManager.
namespace quillo {

namespace {

constexpr auto authorizationPath = "/realms/quillo/protocol/openid-connect/auth"_L1;
constexpr auto scope = "openid profile email offline_access"_L1;

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
             {u"response_type"_s, u"code"_s},
             {u"client_id"_s, session::clientId},
             {u"redirect_uri"_s, redirectUri},
             {u"scope"_s, scope},
             {u"code_challenge"_s, challenge},
             {u"code_challenge_method"_s, u"S256"_s},
             {u"state"_s, state},
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
    const auto stored = co_await storedState();
    if (number == sessionNumber) {
        state = stored.value_or(std::move(former));
    }
}

Task<> AuthManager::runAuthorizationFlow() {
    const auto number = sessionNumber;
    const auto verifier = randomText(48);
    const auto expectedState = randomText(24);
    const auto* const port =
        std::ranges::find_if(callbackPorts, [this](quint16 each) { return listener.listen(each); });
    if (port == callbackPorts.end()) {
        throw AuthError::portUnavailable();
    }
    const auto redirectUri = u"http://127.0.0.1:%1/callback"_s.arg(*port);
    workspace.open(authorizationUrl(identityOrigin, redirectUri, codeChallenge(verifier), expectedState));
    const auto callback = co_await listener.waitForCallback();
    if (number != sessionNumber) {
        co_return;
    }
    if (callback.state != expectedState) {
        throw AuthError::stateMismatch();
    }
    Form form{{"grant_type", u"authorization_code"_s},
              {"code", callback.code},
              {"redirect_uri", redirectUri},
              {"client_id", session::clientId},
              {"code_verifier", verifier}};
    co_await exchange(std::move(form));
    if (number != sessionNumber) {
        co_return;
    }
    const auto email = emailClaim(*accessToken).value_or(session::unnamedUser);
    keep(session::emailAccount, email);
    state = AuthState::signedIn(email);
}

} // namespace quillo
