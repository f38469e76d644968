#include "platform/secrets/OpenCollection.h"

#include "core/Promise.h"
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

/// Waits for the user's answer to a question that the service prepared: true for a yes.
Task<bool> prompt(QString daemonName, QString path, QDBusConnection bus) {
    OrgFreedesktopSecretPromptInterface question(daemonName, path, bus);
    QDBusServiceWatcher daemon(daemonName, bus, QDBusServiceWatcher::WatchForUnregistration);
    Promise<bool> opened;
    auto answer = opened.task();
    QObject::connect(&question, &OrgFreedesktopSecretPromptInterface::Completed, &question,
                     [&](bool dismissed) { opened.fulfil(!dismissed); });
    QObject::connect(&daemon, &QDBusServiceWatcher::serviceUnregistered, &daemon,
                     [&] { opened.fulfil(false); });
    QDBusPendingCallWatcher call(question.Prompt({}));
    QObject::connect(&call, &QDBusPendingCallWatcher::finished, &call, [&] {
        if (call.isError()) {
            opened.fulfil(false);
        }
    });
    const bool isYes = co_await answer;
    co_return isYes;
}

} // namespace

Task<bool> openDefaultCollection(OrgFreedesktopSecretServiceInterface& service) {
    const auto alias = service.ReadAlias(u"default"_s);
    UntilAnswered named(alias);
    co_await named;
    if (alias.isError()) {
        co_return false;
    }
    const bool isMissing = isNone(alias.value());
    const QVariantMap properties{
        {u"org.freedesktop.Secret.Collection.Label"_s, u"Default keyring"_s},
    };
    const QDBusPendingCall opening =
        isMissing ? QDBusPendingCall(service.CreateCollection(properties, u"default"_s))
                  : QDBusPendingCall(service.Unlock({alias.value()}));
    UntilAnswered begun(opening);
    co_await begun;
    if (opening.isError()) {
        co_return false;
    }
    // What is open already, and the question to the user if there is one.
    const auto results = opening.reply().arguments();
    const auto question = results.value(1).value<QDBusObjectPath>();
    if (isNone(question)) {
        co_return isMissing ? !isNone(results.value(0).value<QDBusObjectPath>())
                            : !qdbus_cast<QList<QDBusObjectPath>>(results.value(0)).isEmpty();
    }
    auto asking = prompt(service.service(), question.path(), service.connection());
    const bool opened = co_await asking;
    co_return opened;
}

} // namespace quillo
