#include "Require.h"
#include "platform/DefaultsFile.h"
#include "platform/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

// Any bytes in place of the settings file: the settings that it holds, or none. A change then makes a file
// with that change and with everything that was readable before; what was not readable is kept beside it.

namespace {

using namespace quillo;
using quillo::test::require;
using namespace Qt::Literals::StringLiterals;

const auto changedKey = u"hotKeyEnabled"_s;

void write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

QByteArray contents(const QString& path) {
    QFile file(path);
    require(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

QJsonObject written(const QJsonObject& values) {
    return DefaultsFile::parse(QJsonDocument(values).toJson()).value();
}

void checkReading(const QString& path, const QJsonObject& values) {
    const UserDefaults defaults(path);
    for (const auto& key : {u"backend"_s, u"refreshInterval"_s, u"verifyTLS"_s, changedKey}) {
        const auto value = values.value(key);
        require(defaults.string(key).has_value() == value.isString());
        require(defaults.object(key).isValid() == values.contains(key));
        require((defaults.object(key).metaType() == QMetaType::fromType<bool>()) == value.isBool());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const QTemporaryDir folder;
    const auto path = folder.filePath(u"defaults.json"_s);
    const auto aside = path + u".damaged-1"_s;
    const auto bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    write(path, bytes);

    const auto parsed = DefaultsFile::parse(bytes);
    auto expected = parsed.value_or(QJsonObject());
    checkReading(path, expected);

    const DefaultsFile file(path);
    require(file.read() == expected);
    expected.insert(changedKey, true);
    require(file.merge({{changedKey, true}}));
    // Once written anew, a text is without a byte-order mark that it began with.
    require(file.read() == expected || file.read() == written(expected));
    require(QFile::exists(aside) != parsed.has_value());
    if (!parsed) {
        require(contents(aside) == bytes);
        QFile::remove(aside);
    }
    return 0;
}
