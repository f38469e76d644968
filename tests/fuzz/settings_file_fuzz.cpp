#include "Require.h"
#include "platform/defaults/DefaultsFile.h"

#include <cstddef>
#include <cstdint>

// Any bytes in place of the settings file: the settings that it holds, or none. A change then makes contents
// with that change and with everything that was readable before. What happens to the file itself is shown by
// the unit tests; here it would only cost the speed.

namespace {

using namespace quillo;
using quillo::test::require;
using namespace Qt::Literals::StringLiterals;

void checkChange(const QJsonObject& before, const QString& key, const QJsonValue& value) {
    const auto after = DefaultsFile::merged(before, {{key, value}});
    require(after.value(key) == value);
    require(after.size() == before.size() + (before.contains(key) ? 0 : 1));

    const auto read = DefaultsFile::parse(DefaultsFile::format(after));
    require(read.has_value() && read->value(key) == value);
    for (const auto& kept : {u"backend"_s, u"refreshInterval"_s, u"verifyTLS"_s, u"hotKeyEnabled"_s}) {
        const auto wanted = after.value(kept);
        // Written anew, a text is without a byte-order mark that it began with.
        const bool losesMark = wanted.isString() && wanted.toString().startsWith(QChar::ByteOrderMark);
        require(read->value(kept).type() == wanted.type());
        require(losesMark || wanted.isArray() || wanted.isObject() || read->value(kept) == wanted);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto values = DefaultsFile::parse(bytes).value_or(QJsonObject());
    checkChange(values, u"backend"_s, u"https://ledger.example"_s);
    checkChange(values, u"refreshInterval"_s, 300);
    checkChange(values, u"hotKeyEnabled"_s, true);
    return 0;
}
