#pragma once

#include <QByteArrayView>
#include <QHashFunctions>
#include <QSharedData>
#include <QString>
#include <QUtf8StringView>

#include <cstdint>
#include <new>
#include <optional>

namespace quillo {

/// The text of valid UTF-8, every character of it: QString::fromUtf8 drops a byte-order mark at the start,
/// which within a document is a character like any other.
[[nodiscard]] QString stringFromUtf8(QByteArrayView utf8);

/// An optional text in eight bytes: absent, or a handle to an immutable text that copies share. It reads like
/// `std::optional<QString>`.
///
/// A ledger line has five of them, and a ledger may have a hundred thousand lines, so the text is kept in
/// UTF-8 (half of what QString takes) and the QString is made when asked for. Copies may be used on several
/// threads. Text that has no UTF-8 (an unpaired surrogate) is kept with a replacement character in its place.
class Text {
public:
    Text() noexcept = default;
    Text(std::nullopt_t) noexcept {}
    Text(const QString& text) : Text(fromUtf8(text.toUtf8())) {}

    /// The text of `utf8`, which has to be valid UTF-8 of less than 4 GiB. Never absent: no bytes are the
    /// empty text.
    [[nodiscard]] static Text fromUtf8(QByteArrayView utf8);

    // The names of std::optional, so that it can stand in for one.
    [[nodiscard]] bool has_value() const noexcept { return block.constData() != nullptr; }
    [[nodiscard]] explicit operator bool() const noexcept { return has_value(); }

    /// The text, which has to be present.
    [[nodiscard]] QString operator*() const;

    [[nodiscard]] QString value_or(const QString& other) const { return has_value() ? **this : other; }

    /// The text's own bytes, without a copy: valid as long as this handle or a copy of it lives. Absent text
    /// gives a null view. Bytewise order is the order of code points.
    [[nodiscard]] QUtf8StringView utf8() const noexcept;

    /// Whether both are absent or both hold the same text; constant time for handles that share one.
    friend bool operator==(const Text& left, const Text& right) noexcept;

    friend std::size_t qHash(const Text& text, std::size_t seed = 0) noexcept {
        const QUtf8StringView bytes = text.utf8();
        const std::size_t ofBytes = qHashBits(bytes.data(), static_cast<std::size_t>(bytes.size()), seed);
        return text ? ofBytes : ::qHash(nullptr, seed);
    }

private:
    /// The bytes follow the block in the same allocation.
    struct Block : QSharedData {
        explicit Block(std::uint32_t length) noexcept : size(length) {}
        // Made by placement in memory that is larger than the block, which sized deletion must not hear of.
        // NOLINTNEXTLINE(misc-new-delete-overloads)
        static void operator delete(void* memory) { ::operator delete(memory); }

        [[nodiscard]] char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
        [[nodiscard]] const char* bytes() const noexcept { return reinterpret_cast<const char*>(this + 1); }

        std::uint32_t size;
    };

    QExplicitlySharedDataPointer<const Block> block;
};

static_assert(sizeof(Text) == sizeof(void*));

} // namespace quillo

Q_DECLARE_TYPEINFO(quillo::Text, Q_RELOCATABLE_TYPE);
