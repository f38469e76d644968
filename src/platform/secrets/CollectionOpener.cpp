#include "platform/secrets/CollectionOpener.h"

#include "core/Awaiters.h"
#include "platform/desktop/UntilAnswered.h"
#include "platform/secrets/SecretPromptInterface.h"
#include "platform/secrets/SecretServiceInterface.h"

#include <QDBusPendingReply>
#include <QDBusServiceWatcher>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

namespace {

/// How the Secret Service writes "none".
bool isNone(const QDBusObjectPath& path) {
    return path.path() == "/"_L1;
}

} // namespace

CollectionOpener::CollectionOpener(OrgFreedesktopSecretServiceInterface& secretService)
    : service(secretService) {}

Task<bool> CollectionOpener::open() {
    const auto alias = service.ReadAlias(u"default"_s);
    UntilAnswered answered(alias);
    co_await answered;
    if (alias.isError()) {
        co_return false;
    }
    if (isNone(alias.value())) {
        auto creating = create();
        const bool created = co_await creating;
        co_return created;
    }
    auto unlocking = unlock(alias.value());
    const bool unlocked = co_await unlocking;
    co_return unlocked;
}

Task<bool> CollectionOpener::unlock(QDBusObjectPath collection) {
    const auto reply = service.Unlock({collection});
    UntilAnswered answered(reply);
    co_await answered;
    if (reply.isError()) {
        co_return false;
    }
    if (isNone(reply.argumentAt<1>())) {
        co_return reply.argumentAt<0>().contains(collection);
    }
    auto asking = prompt(reply.argumentAt<1>());
    const bool opened = co_await asking;
    co_return opened;
}

Task<bool> CollectionOpener::create() {
    const QVariantMap properties{
        {u"org.freedesktop.Secret.Collection.Label"_s, u"Default keyring"_s},
    };
    const auto reply = service.CreateCollection(properties, u"default"_s);
    UntilAnswered answered(reply);
    co_await answered;
    if (reply.isError()) {
        co_return false;
    }
    if (isNone(reply.argumentAt<1>())) {
        co_return !isNone(reply.argumentAt<0>());
    }
    auto asking = prompt(reply.argumentAt<1>());
    const bool created = co_await asking;
    co_return created;
}

Task<bool> CollectionOpener::prompt(QDBusObjectPath path) {
    OrgFreedesktopSecretPromptInterface question(service.service(), path.path(), service.connection());
    QDBusServiceWatcher daemon(service.service(), service.connection(),
                               QDBusServiceWatcher::WatchForUnregistration);
    OneShotEvent ended;
    bool opened = false;
    QObject::connect(&question, &OrgFreedesktopSecretPromptInterface::Completed, &ended.context(),
                     [&](bool dismissed) {
                         opened = !dismissed;
                         ended.fire();
                     });
    QObject::connect(&daemon, &QDBusServiceWatcher::serviceUnregistered, &ended.context(),
                     [&] { ended.fire(); });
    QDBusPendingCallWatcher call(question.Prompt({}));
    QObject::connect(&call, &QDBusPendingCallWatcher::finished, &ended.context(), [&] {
        if (call.isError()) {
            ended.fire();
        }
    });
    co_await ended;
    co_return opened;
}

} // namespace quillo
