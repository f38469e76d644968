#include "platform/secrets/Keychain.h"

#include "platform/desktop/Sandbox.h"
#include "platform/secrets/SecretPortal.h"

#include <QStringDecoder>

#include <libsecret/secret.h>

#include <memory>
#include <mutex>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

namespace {

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
using ServiceHandle = std::unique_ptr<SecretService, Release<g_object_unref>>;
using CollectionHandle = std::unique_ptr<SecretCollection, Release<g_object_unref>>;

void releaseItems(GList* items) {
    g_list_free_full(items, g_object_unref);
}
using ItemsHandle = std::unique_ptr<GList, Release<releaseItems>>;

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
    return AttributesHandle(secret_attributes_build(&schema(), "service", Keychain::service.data(), "account",
                                                    account.toUtf8().constData(), nullptr));
}

/// The session bus, or null. It is kept once it is there, and GLib is told not to end the process when the
/// bus goes.
GDBusConnection* sessionBus() {
    static std::mutex mutex;
    static GDBusConnection* kept = nullptr;
    const std::lock_guard lock(mutex);
    if (!kept) {
        kept = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        if (kept) {
            g_dbus_connection_set_exit_on_close(kept, FALSE);
        }
    }
    return kept && !g_dbus_connection_is_closed(kept) ? kept : nullptr;
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
    const auto run = [&operation] {
        GError* error = nullptr;
        if (!isSandboxed() || openSecretPortal(schema(), attributesOf(u"any"_s).get(), &error)) {
            operation(&error);
        }
        return ErrorHandle(error);
    };
    auto error = run();
    if (error && !isTimeout(error.get())) {
        secret_service_disconnect();
        error = run();
    }
    return error;
}

bool isLocked(gpointer item) {
    return SECRET_IS_ITEM(item) && secret_item_get_locked(SECRET_ITEM(item));
}

/// True when an item was there and went.
bool clear(const AttributesHandle& attributes) {
    bool cleared = false;
    static_cast<void>(attempt([&](GError** problem) {
        cleared = secret_password_clearv_sync(&schema(), attributes.get(), nullptr, problem);
    }));
    return cleared;
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
    return SecretReading::found(text.isNull() ? u""_s : std::move(text));
}

} // namespace

std::optional<QString> Keychain::get(const QString& account) {
    return read(account).value();
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
    return isUsable(defaultCollection()) ? SecretReading::absent() : SecretReading::unavailable();
}

bool Keychain::set(const QString& account, const QString& value) {
    if (defaultCollection() != Collection::unlocked) {
        return false;
    }
    const auto attributes = attributesOf(account);
    QByteArray bytes = value.toUtf8();
    const SecretHandle secret(secret_value_new(bytes.constData(), bytes.size(), "text/plain"));
    bytes.fill('\0');
    bool stored = false;
    static_cast<void>(clear(attributes)); // nothing to delete is fine
    static_cast<void>(attempt([&](GError** problem) {
        stored = secret_password_storev_binary_sync(&schema(), attributes.get(), SECRET_COLLECTION_DEFAULT,
                                                    "Quillo", secret.get(), nullptr, problem);
    }));
    return stored;
}

bool Keychain::delete_(const QString& account) {
    return isUsable(defaultCollection()) && clear(attributesOf(account));
}

Keychain::Collection Keychain::defaultCollection() {
    if (isSandboxed()) {
        return Collection::unlocked; // libsecret keeps a file of its own there instead of asking a service
    }
    if (!sessionBus()) {
        return Collection::unreachable;
    }
    CollectionHandle collection;
    const auto error = attempt([&](GError** problem) {
        const ServiceHandle daemon(secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, problem));
        if (daemon) {
            collection.reset(secret_collection_for_alias_sync(daemon.get(), SECRET_COLLECTION_DEFAULT,
                                                              SECRET_COLLECTION_NONE, nullptr, problem));
        }
    });
    if (error) {
        return Collection::unreachable;
    }
    if (!collection) {
        return Collection::missing;
    }
    return secret_collection_get_locked(collection.get()) ? Collection::locked : Collection::unlocked;
}

} // namespace quillo
