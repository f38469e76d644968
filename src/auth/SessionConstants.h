#pragma once

#include <QLatin1StringView>
#include <QString>

/// What the parts of `AuthManager` agree on.
namespace quillo::session {

/// Registered with the identity provider as a public client.
inline constexpr QLatin1StringView clientId{"quillo-mac"};

// Accounts in the secret store.
inline const QString refreshTokenAccount = QStringLiteral("oidc_refresh");
inline const QString emailAccount = QStringLiteral("oidc_email");

/// What the user is called when the provider names no e-mail.
inline const QString unnamedUser = QStringLiteral("account");

} // namespace quillo::session
