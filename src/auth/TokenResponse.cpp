#include "auth/TokenResponse.h"

#include "model/JsonReader.h"

#include <utility>

namespace quillo {

TokenResponse decodeTokenResponse(QByteArray body) {
    const JsonDocument document(std::move(body));
    const JsonMembers<"access_token", "refresh_token", "expires_in"> members(document.root());
    return {.accessToken = members.text<"access_token">(),
            .refreshToken = members.optionalText<"refresh_token">(),
            .expiresIn = members.number<"expires_in">()};
}

QByteArray formValue(const QString& value) {
    // The four marks that percent-encoding would leave alone are named to be encoded, too.
    return value.toUtf8().toPercentEncoding({}, "-._~");
}

} // namespace quillo
