#include "auth/TokenResponse.h"

#include "model/JsonReader.h"

#include <QStringList>

#include <utility>

namespace quillo {

TokenResponse decodeTokenResponse(QByteArray body) {
    const JsonDocument document(std::move(body));
    const JsonMembers<"access_token", "refresh_token", "expires_in"> members(document.root());
    return {.accessToken = members.required<"access_token", QString>(),
            .refreshToken = members.optional<"refresh_token", QString>(),
            .expiresIn = members.required<"expires_in", double>()};
}

std::optional<QString> emailClaim(const QString& token) {
    const auto pieces = token.split(u'.', Qt::SkipEmptyParts);
    if (pieces.size() < 2) {
        return std::nullopt;
    }
    // The URL alphabet is the rule (RFC 7515, section 2); the other one is understood, too.
    auto payload = QByteArray::fromBase64Encoding(pieces[1].toLatin1().replace('+', '-').replace('/', '_'),
                                                  QByteArray::Base64UrlEncoding |
                                                      QByteArray::AbortOnBase64DecodingErrors);
    if (!payload) {
        return std::nullopt;
    }
    try {
        const JsonDocument document(std::move(*payload));
        const JsonMembers<"email"> claims(document.root());
        return claims.optional<"email", QString>();
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

QByteArray formValue(const QString& value) {
    // The four marks that percent-encoding would leave alone are named to be encoded, too.
    return value.toUtf8().toPercentEncoding({}, "-._~");
}

} // namespace quillo
