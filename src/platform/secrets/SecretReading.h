#pragma once

#include <QString>

#include <optional>
#include <utility>

namespace quillo {

/// What a look-up in the secret store brought. A store that is locked or out of reach says nothing about what
/// it holds, so that is not the same as "there is none".
class SecretReading {
public:
    [[nodiscard]] static SecretReading found(QString text) {
        return SecretReading(Outcome::found, std::move(text));
    }
    [[nodiscard]] static SecretReading absent() { return SecretReading(Outcome::absent, {}); }
    [[nodiscard]] static SecretReading unavailable() { return {}; }

    /// As `unavailable()`.
    SecretReading() = default;

    /// The store answered that it has no such item, or none that is text.
    [[nodiscard]] bool isAbsent() const noexcept { return outcome == Outcome::absent; }

    /// The store is locked, does not answer or is not there.
    [[nodiscard]] bool isUnavailable() const noexcept { return outcome == Outcome::unavailable; }

    /// The stored text, which may be empty; none unless it was found.
    [[nodiscard]] std::optional<QString> value() const {
        return outcome == Outcome::found ? std::optional(text) : std::nullopt;
    }

    [[nodiscard]] bool operator==(const SecretReading&) const = default;

private:
    enum class Outcome { found, absent, unavailable };

    SecretReading(Outcome what, QString secret) : outcome(what), text(std::move(secret)) {}

    Outcome outcome = Outcome::unavailable;
    QString text;
};

} // namespace quillo
