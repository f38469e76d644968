#include "model/Text.h"

#include <QStringDecoder>

#include <cstring>

namespace quillo {

QString stringFromUtf8(QByteArrayView utf8) {
    if (utf8.startsWith("\xEF\xBB\xBF")) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
        return decoder(utf8);
    }
    return QString::fromUtf8(utf8);
}

Text Text::fromUtf8(QByteArrayView utf8) {
    Q_ASSERT(utf8.size() <= qsizetype{UINT32_MAX});
    const auto length = static_cast<std::size_t>(utf8.size());
    void* const memory = ::operator new(sizeof(Block) + length);
    auto* const created = new (memory) Block(static_cast<std::uint32_t>(length));
    if (length != 0) {
        std::memcpy(created->bytes(), utf8.data(), length);
    }
    Text text;
    text.block.reset(created);
    return text;
}

QString Text::operator*() const {
    const QUtf8StringView bytes = utf8();
    return stringFromUtf8({bytes.data(), bytes.size()});
}

QUtf8StringView Text::utf8() const noexcept {
    const Block* const shared = block.constData();
    if (shared == nullptr) {
        return {};
    }
    return {shared->bytes(), static_cast<qsizetype>(shared->size)};
}

bool operator==(const Text& left, const Text& right) noexcept {
    const auto bytes = [](const Text& text) {
        return QByteArrayView(text.utf8().data(), text.utf8().size());
    };
    return left.block == right.block || (left && right && bytes(left) == bytes(right));
}

} // namespace quillo
