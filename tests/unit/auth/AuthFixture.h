#pragma once

#include "auth/AuthManager.h"
#include "net/HTTPSession.h"
#include "platform/desktop/Workspace.h"
#include "platform/secrets/SecretStore.h"
#include "support/ManualClock.h"
#include "support/RoutedServer.h"

#include <QList>
#include <QMap>
#include <QUrl>

#include <chrono>
#include <functional>

namespace quillo::test {

/// The token endpoint's request target.
inline const QByteArray tokenTarget = "/realms/quillo/protocol/openid-connect/token";

/// A token endpoint's body; without `refresh_token` when that is empty.
[[nodiscard]] QByteArray tokenBody(const QByteArray& accessToken, double expiresIn = 300,
                                   const QByteArray& refreshToken = {});

/// An access token whose payload is this JSON.
[[nodiscard]] QByteArray jwt(const QByteArray& payload);

/// The fields of a form body, with their values decoded.
[[nodiscard]] QMap<QByteArray, QString> formOf(const ReceivedRequest& request);

/// Puts a session into the secret store of the session bus, as an earlier run of the program would have;
/// without an e-mail when that is empty.
void keepSession(const QString& email = QStringLiteral("robin@quillo.example"));

/// What of the program's is in the secret store now.
[[nodiscard]] std::optional<QString> storedRefreshToken();
[[nodiscard]] std::optional<QString> storedEmail();

/// Takes everything of the program's out of the secret store.
void clearSecrets();

/// A sign-in manager and its surroundings: a real secret store and real requests, time that stands still, an
/// identity provider of the test's own that issues "access-1", and pages that are written down.
///
/// The secret store is that of the session bus; at the start nothing is in it.
struct AuthFixture {
    explicit AuthFixture(std::chrono::milliseconds idleTimeout = std::chrono::seconds(60));

    ManualClock clock;
    RoutedServer identity;
    QList<QUrl> opened;                       ///< the pages that were handed to the browser
    std::function<bool(const QUrl&)> browser; ///< what it does with them, if anything
    Workspace workspace;
    SecretStore secrets;
    HTTPSession session;
    AuthManager auth;
};

} // namespace quillo::test
