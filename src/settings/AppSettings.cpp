#include "settings/AppSettings.h"

#include "BuildConfiguration.h"
#include "platform/defaults/UserDefaults.h"
#include "platform/secrets/SecretStore.h"

#include <tuple>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

namespace {

const auto backendKey = u"backend"_s;
const auto refreshIntervalKey = u"refreshInterval"_s;
const auto verifyTlsKey = u"verifyTLS"_s;
const auto hotKeyEnabledKey = u"hotKeyEnabled"_s;
const auto apiKeyAccount = u"api_key"_s;

/// The defaults' value if it has exactly this type: a switch that was never written is on, not off.
template <typename T>
T loaded(const UserDefaults& defaults, const QString& key, T otherwise) {
    const auto stored = defaults.object(key);
    return stored.metaType() == QMetaType::fromType<T>() ? stored.value<T>() : otherwise;
}

} // namespace

AppSettings::AppSettings(UserDefaults& userDefaults, SecretStore& secretStore)
    : defaults(userDefaults),
      secrets(secretStore),
      backend(*this, defaults.string(backendKey).value_or(build::backendOrigin),
              [this](const QString& value) { defaults.setString(backendKey, value); }),
      refreshInterval(*this, loaded<qint64>(defaults, refreshIntervalKey, 300),
                      [this](qint64 value) { defaults.setInteger(refreshIntervalKey, value); }),
      verifyTLS(*this, loaded(defaults, verifyTlsKey, true),
                [this](bool value) { defaults.setBoolean(verifyTlsKey, value); }),
      apiKey(*this, QString(), [this](const QString& value) { storeApiKey(value); }),
      hotKeyEnabled(*this, loaded(defaults, hotKeyEnabledKey, true),
                    [this](bool value) { defaults.setBoolean(hotKeyEnabledKey, value); }),
      storeAvailable(secrets.becameAvailable.observe([this] { loading.spawn(loadSecrets()); })),
      defaultsReadable(defaults.becameReadable.observe([this] {
          backend = defaults.string(backendKey).value_or(build::backendOrigin);
          refreshInterval = loaded<qint64>(defaults, refreshIntervalKey, 300);
          verifyTLS = loaded(defaults, verifyTlsKey, true);
          hotKeyEnabled = loaded(defaults, hotKeyEnabledKey, true);
      })) {}

bool AppSettings::isBackendKnown() const {
    return defaults.isKnown(backendKey);
}

Task<void> AppSettings::loadSecrets() {
    const auto reading = co_await secrets.get(apiKeyAccount);
    if (keyState == KeyState::unknown && !reading.isUnavailable()) {
        const QString key = reading.value().value_or(QString());
        if (key != *apiKey) {
            keyState = KeyState::arriving;
            apiKey = key;
        }
        keyState = KeyState::known;
    }
}

void AppSettings::storeApiKey(const QString& key) {
    if (keyState != KeyState::arriving) {
        keyState = KeyState::known;
        std::ignore = secrets.set(apiKeyAccount, key);
    }
}

} // namespace quillo
