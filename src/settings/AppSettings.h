#pragma once

#include "core/Published.h"
#include "core/Signal.h"
#include "core/Task.h"
#include "core/TaskScope.h"

#include <QString>

namespace quillo {

class SecretStore;
class UserDefaults;

/// The user's persistent choices. Each is announced, changed and then written to its storage with every
/// assignment, equal ones included; what was missing or of the wrong type in storage has its default.
/// Failures to write are ignored: the value in memory counts.
class AppSettings final : public ObservableObject {
    // Declared first, because the properties load from them.
    UserDefaults& defaults;
    SecretStore& secrets;

public:
    /// Loads everything but the secret, and stores nothing back. The key follows with `loadSecrets`, and
    /// whenever a secret store that could not be read becomes available, as does the rest from a file that
    /// could not be read. Both storages outlive the settings.
    AppSettings(UserDefaults& userDefaults, SecretStore& secretStore);

    /// Origin of the backend (scheme, host, optional port), exactly as the user typed it.
    Published<QString> backend;

    /// Seconds between automatic refreshes; none below 1. Not limited to `intervalPresets`.
    Published<qint64> refreshInterval;

    /// When false, any certificate of the backend is accepted.
    Published<bool> verifyTLS;

    /// Authorises requests when the user is not signed in. Kept in the secret store only, an empty one too.
    Published<QString> apiKey;

    /// Whether the system-wide hot key that opens the ledger is registered.
    Published<bool> hotKeyEnabled;

    /// False while the default stands in for what is stored and cannot be read: no secret may go there.
    [[nodiscard]] bool isBackendKnown() const;

    /// Reads the API key. What the user set in the meantime wins over what was stored; a store that cannot be
    /// read leaves the key as it is.
    [[nodiscard]] Task<void> loadSecrets();

private:
    /// Whether `apiKey` was given its value, from storage or by the user.
    enum class KeyState { unknown, arriving, known };

    void storeApiKey(const QString& key);

    KeyState keyState = KeyState::unknown;
    Observation storeAvailable;
    Observation defaultsReadable;
    TaskScope loading;
};

} // namespace quillo
