#pragma once

#include <QString>

#include <optional>
#include <utility>

namespace quillo {

/// What a look-up in the secret store brought. A store that is locked or out of reach says nothing about what
/// it holds, so that is not the same as "there is none".
class SecretReading {
public:
    [[nodiscard]] static SecretReading found(QString text) { return {true, std::move(text)}; }
    /// The store has no such item, or none that is text.
    [[nodiscard]] static SecretReading absent() { return {true, std::nullopt}; }
    [[nodiscard]] static SecretReading unavailable() { return {false, std::nullopt}; }

    /// The store is locked, does not answer or is not there.
    [[nodiscard]] bool isUnavailable() const noexcept { return !known; }

    /// The stored text, which may be empty; none unless it was found.
    [[nodiscard]] const std::optional<QString>& value() const noexcept { return text; }

    [[nodiscard]] bool operator==(const SecretReading&) const = default;

private:
    SecretReading(bool said, std::optional<QString> secret) : known(said), text(std::move(secret)) {}

    bool known;
    std::optional<QString> text;
};

} // namespace quillo
