#include "Require.h"
#include "auth/TokenResponse.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstddef>
#include <cstdint>

// Any bytes as an access token, and as the payload of one: there is an e-mail or there is none. Where
// software that is not ours reads the payload, too, it finds the same e-mail.

namespace {

using namespace quillo;
using quillo::test::require;
using namespace Qt::Literals::StringLiterals;

constexpr auto withoutPadding = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    static_cast<void>(emailClaim(QString::fromUtf8(bytes)));

    const auto payload = QString::fromLatin1(bytes.toBase64(withoutPadding));
    const auto email = emailClaim(u"e30."_s + payload + u".c2ln"_s);
    require(email == emailClaim(u"e30."_s + payload));
    const auto document = QJsonDocument::fromJson(bytes);
    // Qt takes a byte-order mark at the start of a text or a name for no part of it.
    if (!document.isNull() && email && !bytes.contains("\xEF\xBB\xBF")) {
        require(document.object().value(u"email"_s) == QJsonValue(*email));
    }
    return 0;
}
