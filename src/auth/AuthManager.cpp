#include "auth/AuthManager.h"

#include "auth/AuthError.h"
#include "auth/LoopbackListener.h"
#include "auth/SessionConstants.h"
#include "auth/TokenResponse.h"
#include "core/UserCharacters.h"
#include "net/HTTPSession.h"
#include "platform/secrets/SecretStore.h"

#include <QStringDecoder>
#include <QUrl>

#include <algorithm>
#include <cmath>

using namespace std::chrono_literals;

namespace quillo {

namespace {

constexpr auto tokenPath = QLatin1StringView("/realms/quillo/protocol/openid-connect/token");

/// A token that ends this soon may end on its way to the backend.
constexpr auto expiryMargin = 30s;
constexpr qsizetype shownRefusal = 200;

/// `seconds` from the wire, bounded so that no number overflows the clock.
Clock::Duration lifetime(double seconds) {
    constexpr double century = 100.0 * 365 * 24 * 3600;
    return std::chrono::duration_cast<Clock::Duration>(
        std::chrono::duration<double>(std::clamp(seconds, -century, century)));
}

/// The body as text; empty when it is not UTF-8.
QString textOf(const QByteArray& body) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(body);
    return decoder.hasError() ? QString() : text;
}

} // namespace

AuthManager::AuthManager(Clock& time, SecretStore& secretStore, HTTPSession& httpSession,
                         const Workspace& desktop, QString origin, std::chrono::milliseconds idleTimeout)
    : clock(time),
      secrets(secretStore),
      session(httpSession),
      workspace(desktop),
      identityOrigin(std::move(origin)),
      exchangeTimeout(idleTimeout) {}

AuthManager::~AuthManager() = default;

Task<> AuthManager::restore() {
    if (hasSignedOut) {
        forgetSecrets();
        co_return;
    }
    const auto number = sessionNumber;
    const auto refreshToken = co_await secrets.get(session::refreshTokenAccount);
    const auto email = co_await secrets.get(session::emailAccount);
    // Unless the user has signed in or out meanwhile.
    if (refreshToken.value() && number == sessionNumber && state->isSignedOut()) {
        state = AuthState::signedIn(email.value().value_or(session::unnamedUser));
    }
}

Task<QString> AuthManager::validAccessToken() {
    if (accessToken && accessTokenExpiry - clock.now() > expiryMargin) {
        co_return *accessToken;
    }
    const auto number = sessionNumber;
    const auto refreshToken = co_await secrets.get(session::refreshTokenAccount);
    if (!refreshToken.value() || number != sessionNumber) {
        throw AuthError::notSignedIn();
    }
    bool renewed = true;
    Form form{{"grant_type", QStringLiteral("refresh_token")},
              {"refresh_token", *refreshToken.value()},
              {"client_id", session::clientId}};
    try {
        co_await exchange(std::move(form));
    } catch (const std::exception&) {
        renewed = false;
    }
    if (number != sessionNumber) {
        throw AuthError::sessionExpired(); // signed out meanwhile; what holds now is another session's
    }
    if (!renewed) {
        signOut();
    }
    if (!accessToken) {
        throw AuthError::sessionExpired();
    }
    co_return *accessToken;
}

Task<> AuthManager::exchange(Form form) {
    const auto number = sessionNumber;
    HTTPRequest request;
    request.method = HTTPMethod::post;
    request.url = QUrl(identityOrigin + tokenPath, QUrl::StrictMode);
    request.idleTimeout = exchangeTimeout;
    request.setHeader("Content-Type", "application/x-www-form-urlencoded");
    for (const auto& [key, value] : form) {
        request.body += (request.body.isEmpty() ? "" : "&") + key + '=' + formValue(value);
    }
    auto response = co_await session.send(std::move(request));
    if (response.status < 200 || response.status > 299) {
        throw AuthError::tokenEndpoint(firstUserCharacters(textOf(response.body), shownRefusal));
    }
    const auto tokens = decodeTokenResponse(std::move(response.body));
    if (number != sessionNumber) {
        co_return; // the user has signed out meanwhile; these tokens belong to nobody
    }
    hasSignedOut = false;
    accessToken = tokens.accessToken;
    accessTokenExpiry = clock.now() + lifetime(tokens.expiresIn);
    if (tokens.refreshToken) {
        secrets.enqueueSet(session::refreshTokenAccount, *tokens.refreshToken);
    }
}

void AuthManager::signOut() {
    ++sessionNumber;
    hasSignedOut = true;
    flow.cancelAll();
    listener.reset();
    forgetSecrets();
    accessToken.reset();
    accessTokenExpiry = Clock::distantPast;
    state = AuthState::signedOut();
}

void AuthManager::forgetSecrets() {
    secrets.enqueueDelete(session::refreshTokenAccount);
    secrets.enqueueDelete(session::emailAccount);
}

} // namespace quillo
