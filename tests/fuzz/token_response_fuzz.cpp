#include "Require.h"
#include "auth/TokenResponse.h"
#include "model/DecodingError.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstddef>
#include <cstdint>

// Any bytes as the token endpoint's answer: it decodes, or fails with a text that is short enough to quote
// nothing of it. What decoded is the same after being written as JSON, by software that is not ours, and
// decoded again; and any text stands in a form body so that it cannot be taken for anything else.

namespace {

using namespace quillo;
using quillo::test::require;
using namespace Qt::Literals::StringLiterals;

constexpr qsizetype longestErrorText = 200;

QByteArray written(const TokenResponse& response) {
    QJsonObject object{{u"access_token"_s, response.accessToken}, {u"expires_in"_s, response.expiresIn}};
    if (response.refreshToken) {
        object.insert(u"refresh_token"_s, *response.refreshToken);
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

void checkBody(const QByteArray& body) {
    try {
        const auto response = decodeTokenResponse(body);
        const auto again = decodeTokenResponse(written(response));
        require(again.accessToken == response.accessToken);
        require(again.refreshToken == response.refreshToken);
        require(again.expiresIn == response.expiresIn);
    } catch (const DecodingError& error) {
        require(error.errorDescription().contains(u": "_s));
        require(error.errorDescription().size() <= longestErrorText);
    }
}

void checkFormValue(const QString& value) {
    const auto encoded = formValue(value);
    for (const char character : encoded) {
        require((character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
                (character >= 'a' && character <= 'z') || character == '%');
    }
    require(QByteArray::fromPercentEncoding(encoded) == value.toUtf8());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto body =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    checkBody(body);
    checkFormValue(QString::fromUtf8(body));
    return 0;
}
