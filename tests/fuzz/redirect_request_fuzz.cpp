#include "Require.h"
#include "auth/LoopbackCallback.h"

#include <QUrl>

#include <cstddef>
#include <cstdint>

// Any bytes as the request that brings a sign-in back: it is a redirect with code and state, or none. Only
// the first line counts, and a redirect that was read is read again from a request made anew of what it said.

namespace {

using namespace quillo;
using quillo::test::require;
using namespace Qt::Literals::StringLiterals;

QString encoded(const QString& value) {
    return QString::fromLatin1(QUrl::toPercentEncoding(value));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto head = bytes.isValidUtf8() ? QString::fromUtf8(bytes) : QString();
    const auto callback = parseCallback(head);

    require(parseCallback(head.section(u"\r\n"_s, 0, 0)) == callback);
    if (callback) {
        require(head.contains(u'?') && head.contains(u"=") && head.contains(u' '));
        require(callback->code.isValidUtf16() && callback->state.isValidUtf16());
        const auto again = u"GET /callback?state=%1&code=%2&code=other HTTP/1.1\r\n"_s.arg(
            encoded(callback->state), encoded(callback->code));
        require(parseCallback(again) == callback);
    }
    return 0;
}
