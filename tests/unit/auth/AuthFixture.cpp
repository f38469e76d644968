#include "auth/AuthFixture.h"

#include "platform/secrets/Keychain.h"

namespace quillo::test {

QByteArray tokenBody(const QByteArray& accessToken, double expiresIn, const QByteArray& refreshToken) {
    const auto rotated = refreshToken.isEmpty() ? "" : R"(,"refresh_token":")" + refreshToken + '"';
    return R"({"access_token":")" + accessToken + R"(","expires_in":)" +
           QByteArray::number(expiresIn, 'g', 17) + rotated + "}";
}

QByteArray jwt(const QByteArray& payload) {
    return "head." + payload.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals) +
           ".signature";
}

QMap<QByteArray, QString> formOf(const ReceivedRequest& request) {
    QMap<QByteArray, QString> fields;
    for (const auto& field : request.body.split('&')) {
        const auto equals = field.indexOf('=');
        fields.insert(field.first(equals),
                      QString::fromUtf8(QByteArray::fromPercentEncoding(field.sliced(equals + 1))));
    }
    return fields;
}

void keepSession(const QString& email) {
    if (!Keychain::set(session::refreshTokenAccount, QStringLiteral("refresh-1")) ||
        (!email.isEmpty() && !Keychain::set(session::emailAccount, email))) {
        qFatal("no secret store");
    }
}

std::optional<QString> storedRefreshToken() {
    return Keychain::get(session::refreshTokenAccount);
}

std::optional<QString> storedEmail() {
    return Keychain::get(session::emailAccount);
}

void clearSecrets() {
    for (const auto& account :
         {QStringLiteral("api_key"), session::refreshTokenAccount, session::emailAccount}) {
        Keychain::delete_(account);
    }
}

AuthFixture::AuthFixture(std::chrono::milliseconds idleTimeout)
    : workspace([this](const QUrl& url) {
          opened.append(url);
          return !browser || browser(url);
      }),
      auth(clock, secrets, session, workspace, identity.origin(), idleTimeout) {
    clearSecrets();
    identity.answer(tokenTarget, Answer::http(200, tokenBody("access-1")));
}

} // namespace quillo::test
