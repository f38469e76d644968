#include "auth/AuthManager.h"

#include "auth/AuthError.h"
#include "auth/TokenResponse.h"
#include "core/UserCharacters.h"
#include "net/HTTPSession.h"
#include "platform/secrets/SecretStore.h"

#include <QStringDecoder>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <tuple>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace quillo {

namespace {

constexpr auto tokenPath = "/realms/quillo/protocol/openid-connect/token"_L1;

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
      exchangeTimeout(idleTimeout),
      storeAvailable(secrets.becameAvailable.observe([this] {
          for (const auto& [account, value] : std::map(unstored)) {
              keep(account, value);
          }
      })) {}

Task<> AuthManager::restore() {
    if (hasSignedOut) {
        forgetSecrets();
        co_return;
    }
    const auto number = sessionNumber;
    const auto stored = co_await storedState();
    // Unless the user has signed in or out meanwhile.
    if (stored && stored->isSignedIn() && number == sessionNumber && state->isSignedOut()) {
        state = *stored;
    }
}

Task<QString> AuthManager::validAccessToken() {
    if (accessToken && accessTokenExpiry - clock.now() > expiryMargin) {
        co_return *accessToken;
    }
    const auto number = sessionNumber;
    const auto refreshToken = co_await read(session::refreshTokenAccount);
    if (!refreshToken.value() || number != sessionNumber) {
        throw AuthError::notSignedIn();
    }
    bool renewed = true;
    Form form{{"grant_type", u"refresh_token"_s},
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
        keep(session::refreshTokenAccount, *tokens.refreshToken);
    }
}

void AuthManager::signOut() {
    ++sessionNumber;
    hasSignedOut = true;
    flow.cancelAll();
    listener.close();
    forgetSecrets();
    accessToken.reset();
    accessTokenExpiry = Clock::distantPast;
    state = AuthState::signedOut();
}

Task<std::optional<AuthState>> AuthManager::storedState() {
    const auto refreshToken = co_await read(session::refreshTokenAccount);
    const auto email = co_await read(session::emailAccount);
    if (refreshToken.isUnavailable()) {
        co_return std::nullopt;
    }
    co_return refreshToken.value() ? AuthState::signedIn(email.value().value_or(session::unnamedUser))
                                   : AuthState::signedOut();
}

Task<SecretReading> AuthManager::read(QString account) {
    const auto reading = co_await secrets.get(account);
    const auto newer = unstored.find(account);
    co_return newer == unstored.end() ? reading : SecretReading::found(newer->second);
}

void AuthManager::keep(const QString& account, const QString& value) {
    unstored[account] = value;
    storing.spawn(store(account, value));
}

Task<> AuthManager::store(QString account, QString value) {
    const bool stored = co_await secrets.set(account, value);
    const auto kept = unstored.find(account);
    if (stored && kept != unstored.end() && kept->second == value) {
        unstored.erase(kept);
    }
}

void AuthManager::forgetSecrets() {
    unstored.clear();
    std::ignore = secrets.delete_(session::refreshTokenAccount);
    std::ignore = secrets.delete_(session::emailAccount);
}

} // namespace quillo
