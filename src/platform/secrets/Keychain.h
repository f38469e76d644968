#pragma once

#include "BuildConfiguration.h"
#include "platform/secrets/SecretReading.h"

#include <QLatin1StringView>
#include <QString>

#include <optional>

namespace quillo {

/// The program's secrets in the desktop's secret store (freedesktop Secret Service; the file of the secret
/// portal inside a sandbox), one item for each account.
///
/// An item has the attributes `service` and `account` and is found by these two alone, whoever wrote it.
/// The operations block and may be called from any thread; the main thread uses `SecretStore` instead. None
/// of them shows a prompt: what would need one fails. Nothing is thrown or logged.
class Keychain {
public:
    static constexpr QLatin1StringView service = build::applicationId;

    /// What the default collection, where new items go, is like.
    enum class Collection { unlocked, locked, missing, unreachable };

    Keychain() = delete;

    /// Replaces the account's value: deletes what is there, then adds. True when the value was stored.
    static bool set(const QString& account, const QString& value);

    /// The stored value, or absent: never stored, not valid UTF-8, or out of reach.
    [[nodiscard]] static std::optional<QString> get(const QString& account);

    /// True when an item was deleted.
    static bool delete_(const QString& account);

    /// As `get`, and tells absent from out of reach.
    [[nodiscard]] static SecretReading read(const QString& account);

    [[nodiscard]] static Collection defaultCollection();

    /// Whether look-ups and deletions need no prompt.
    [[nodiscard]] static constexpr bool isUsable(Collection collection) noexcept {
        return collection == Collection::unlocked || collection == Collection::missing;
    }
};

} // namespace quillo
