#include "auth/EmailClaim.h"

#include "model/JsonReader.h"

#include <QByteArray>
#include <QStringList>

namespace quillo {

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
        return claims.optionalText<"email">();
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

} // namespace quillo
