#include "model/Text.h"

#include "model/Utf8.h"

#include <cstring>

namespace quillo {

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

bool Text::equals(const Text& other) const noexcept {
    if (block == other.block) {
        return true;
    }
    if (!has_value() || !other.has_value()) {
        return false;
    }
    const QUtf8StringView mine = utf8();
    const QUtf8StringView theirs = other.utf8();
    return mine.size() == theirs.size() &&
           std::memcmp(mine.data(), theirs.data(), static_cast<std::size_t>(mine.size())) == 0;
}

std::size_t Text::hash(std::size_t seed) const noexcept {
    if (!has_value()) {
        return ::qHash(nullptr, seed);
    }
    const QUtf8StringView bytes = utf8();
    return qHashBits(bytes.data(), static_cast<std::size_t>(bytes.size()), seed);
}

} // namespace quillo
