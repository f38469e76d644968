#pragma once

#include <QLatin1StringView>
#include <QString>

/// What the parts of `AuthManager` agree on.
namespace quillo::session {

using namespace Qt::Literals::StringLiterals;

/// Registered with the identity provider as a public client.
inline constexpr QLatin1StringView clientId{"quillo-mac"};

// Accounts in the secret store.
inline const QString refreshTokenAccount = u"oidc_refresh"_s;
inline const QString emailAccount = u"oidc_email"_s;

/// What the user is called when the provider names no e-mail.
inline const QString unnamedUser = u"account"_s;

} // namespace quillo::session
