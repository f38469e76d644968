#include "platform/secrets/Keychain.h"

#include <QFileInfo>
#include <QStringDecoder>

#include <libsecret/secret.h>

#include <memory>
#include <mutex>
#include <string_view>

namespace quillo {

namespace {

using namespace std::string_view_literals;

constexpr auto serviceName = "org.freedesktop.secrets";
constexpr auto servicePath = "/org/freedesktop/secrets";
constexpr auto serviceInterface = "org.freedesktop.Secret.Service";
constexpr auto collectionInterface = "org.freedesktop.Secret.Collection";

/// For the questions that precede every change; a daemon that was just started answers well within it.
constexpr int questionTimeoutMs = 10'000;

template <auto release>
struct Release {
    template <typename T>
    void operator()(T* held) const noexcept {
        release(held);
    }
};

using ErrorHandle = std::unique_ptr<GError, Release<g_error_free>>;
using AttributesHandle = std::unique_ptr<GHashTable, Release<g_hash_table_unref>>;
using SecretHandle = std::unique_ptr<SecretValue, Release<secret_value_unref>>;
using VariantHandle = std::unique_ptr<GVariant, Release<g_variant_unref>>;

void releaseItems(GList* items) {
    g_list_free_full(items, g_object_unref);
}
using ItemsHandle = std::unique_ptr<GList, Release<releaseItems>>;

/// Receives a `GError**`; `error` is set once the call that it was given to has returned.
class ErrorSlot {
public:
    explicit ErrorSlot(ErrorHandle& target) : error(target) {}
    ErrorSlot(const ErrorSlot&) = delete;
    ErrorSlot& operator=(const ErrorSlot&) = delete;
    ~ErrorSlot() { error.reset(raw); }
    operator GError**() { return &raw; } // NOLINT(google-explicit-constructor): stands in for an argument

private:
    ErrorHandle& error;
    GError* raw = nullptr;
};

/// The name is the one that items get when no program gives them one, so that `secret-tool store` replaces
/// our item instead of adding a second.
const SecretSchema& schema() {
    static const SecretSchema generic = [] {
        SecretSchema made{};
        made.name = "org.freedesktop.Secret.Generic";
        made.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
        made.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        made.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return made;
    }();
    return generic;
}

AttributesHandle attributesOf(const QString& account) {
    AttributesHandle attributes(g_hash_table_new_full(g_str_hash, g_str_equal, nullptr, g_free));
    const auto insert = [&](const char* name, QByteArrayView value) {
        g_hash_table_insert(attributes.get(), const_cast<char*>(name),
                            g_strndup(value.data(), static_cast<gsize>(value.size())));
    };
    insert("service", QByteArrayView(Keychain::service.data(), Keychain::service.size()));
    insert("account", account.toUtf8());
    return attributes;
}

/// The session bus, or null. It is kept once it is there, and GLib is told not to end the process when the
/// bus goes.
GDBusConnection* sessionBus() {
    static std::mutex mutex;
    static GDBusConnection* kept = nullptr;
    const std::lock_guard lock(mutex);
    if (!kept) {
        ErrorHandle error;
        kept = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, ErrorSlot(error));
        if (kept) {
            g_dbus_connection_set_exit_on_close(kept, FALSE);
        }
    }
    return kept && !g_dbus_connection_is_closed(kept) ? kept : nullptr;
}

/// Where libsecret keeps a file of its own instead of asking a service.
bool isSandboxed() {
    return QFileInfo::exists(QStringLiteral("/.flatpak-info")) || qEnvironmentVariableIsSet("SNAP_NAME");
}

struct Answer {
    VariantHandle value;
    ErrorHandle error;
};

Answer ask(GDBusConnection* bus, const char* path, const char* interface, const char* method,
           GVariant* arguments, const char* type) {
    Answer answer;
    answer.value.reset(g_dbus_connection_call_sync(bus, serviceName, path, interface, method, arguments,
                                                   G_VARIANT_TYPE(type), G_DBUS_CALL_FLAGS_NONE,
                                                   questionTimeoutMs, nullptr, ErrorSlot(answer.error)));
    return answer;
}

bool isTimeout(const GError* error) {
    return g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
           g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY) ||
           g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT);
}

/// Runs `operation(GError**)`. libsecret holds on to the daemon that it first spoke to and to its session
/// with it, so when that has been restarted since, it has to be told to look again. A silence is not waited
/// for twice.
template <typename Operation>
ErrorHandle attempt(const Operation& operation) {
    ErrorHandle error;
    operation(ErrorSlot(error));
    if (error && !isTimeout(error.get())) {
        secret_service_disconnect();
        operation(ErrorSlot(error));
    }
    return error;
}

bool isLocked(gpointer item) {
    return SECRET_IS_ITEM(item) && secret_item_get_locked(SECRET_ITEM(item));
}

SecretReading decode(SecretValue* secret) {
    gsize length = 0;
    const auto* bytes = secret_value_get(secret, &length);
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder(QByteArrayView(bytes, static_cast<qsizetype>(length)));
    if (decoder.hasError()) {
        return SecretReading::absent();
    }
    return SecretReading::found(text.isNull() ? QStringLiteral("") : std::move(text));
}

Keychain::Change asChange(Keychain::Collection collection) {
    switch (collection) {
    case Keychain::Collection::locked:
        return Keychain::Change::needsUnlock;
    case Keychain::Collection::missing:
        return Keychain::Change::needsCollection;
    case Keychain::Collection::unlocked:
    case Keychain::Collection::unreachable:
        break;
    }
    return Keychain::Change::failed;
}

} // namespace

bool Keychain::set(const QString& account, const QString& value) {
    return write(account, value) == Change::made;
}

std::optional<QString> Keychain::get(const QString& account) {
    return read(account).value();
}

bool Keychain::delete_(const QString& account) {
    return remove(account) == Change::made;
}

SecretReading Keychain::read(const QString& account) {
    if (!isSandboxed() && !sessionBus()) {
        return SecretReading::unavailable();
    }
    const auto attributes = attributesOf(account);
    SecretHandle secret;
    bool anyLocked = false;
    const auto error = attempt([&](GError** problem) {
        // A search, because a look-up would unlock what it finds, and wait for the user to do it.
        const ItemsHandle items(
            secret_password_searchv_sync(&schema(), attributes.get(), SECRET_SEARCH_NONE, nullptr, problem));
        if (!items) {
            return;
        }
        anyLocked = isLocked(items->data);
        if (!anyLocked) {
            secret.reset(
                secret_retrievable_retrieve_secret_sync(SECRET_RETRIEVABLE(items->data), nullptr, problem));
        }
    });
    if (error || anyLocked) {
        return SecretReading::unavailable();
    }
    if (secret) {
        return decode(secret.get());
    }
    switch (defaultCollection()) {
    case Collection::unlocked:
    case Collection::missing:
        return SecretReading::absent();
    case Collection::locked:
    case Collection::unreachable:
        break;
    }
    return SecretReading::unavailable();
}

Keychain::Change Keychain::write(const QString& account, const QString& value) {
    const auto collection = defaultCollection();
    if (collection != Collection::unlocked) {
        return asChange(collection);
    }
    const auto attributes = attributesOf(account);
    QByteArray bytes = value.toUtf8();
    const SecretHandle secret(secret_value_new(bytes.constData(), bytes.size(), "text/plain"));
    bytes.fill('\0');
    bool stored = false;
    // Nothing to delete is fine.
    static_cast<void>(attempt([&](GError** problem) {
        secret_password_clearv_sync(&schema(), attributes.get(), nullptr, problem);
    }));
    static_cast<void>(attempt([&](GError** problem) {
        stored = secret_password_storev_binary_sync(&schema(), attributes.get(), SECRET_COLLECTION_DEFAULT,
                                                    "Quillo", secret.get(), nullptr, problem);
    }));
    return stored ? Change::made : Change::failed;
}

Keychain::Change Keychain::remove(const QString& account) {
    const auto collection = defaultCollection();
    if (collection == Collection::locked || collection == Collection::unreachable) {
        return asChange(collection);
    }
    const auto attributes = attributesOf(account);
    bool deleted = false;
    static_cast<void>(attempt([&](GError** problem) {
        deleted = secret_password_clearv_sync(&schema(), attributes.get(), nullptr, problem);
    }));
    return deleted ? Change::made : Change::failed;
}

Keychain::Collection Keychain::defaultCollection() {
    if (isSandboxed()) {
        return Collection::unlocked;
    }
    auto* bus = sessionBus();
    if (!bus) {
        return Collection::unreachable;
    }
    const auto alias =
        ask(bus, servicePath, serviceInterface, "ReadAlias", g_variant_new("(s)", "default"), "(o)");
    if (!alias.value) {
        return Collection::unreachable;
    }
    const char* path = nullptr;
    g_variant_get(alias.value.get(), "(&o)", &path);
    if (path == "/"sv) {
        return Collection::missing;
    }
    const auto locked = ask(bus, path, "org.freedesktop.DBus.Properties", "Get",
                            g_variant_new("(ss)", collectionInterface, "Locked"), "(v)");
    if (!locked.value) {
        return Collection::unreachable;
    }
    GVariant* unboxed = nullptr;
    g_variant_get(locked.value.get(), "(v)", &unboxed);
    const VariantHandle property(unboxed);
    if (!g_variant_is_of_type(property.get(), G_VARIANT_TYPE_BOOLEAN)) {
        return Collection::unreachable;
    }
    return g_variant_get_boolean(property.get()) ? Collection::locked : Collection::unlocked;
}

} // namespace quillo
