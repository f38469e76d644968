#include "support/ScriptedPrompter.h"

#include <QDBusPendingCall>

using namespace Qt::Literals::StringLiterals;

namespace quillo::test {

ScriptedPrompter::ScriptedPrompter(QDBusConnection bus) : connection(std::move(bus)) {
    const bool serving =
        connection.registerObject(u"/org/gnome/keyring/Prompter"_s, this, QDBusConnection::ExportAllSlots) &&
        connection.registerService(u"org.gnome.keyring.SystemPrompter"_s);
    if (!serving) {
        qFatal("no prompter");
    }
}

ScriptedPrompter::~ScriptedPrompter() {
    connection.unregisterService(u"org.gnome.keyring.SystemPrompter"_s);
    connection.unregisterObject(u"/org/gnome/keyring/Prompter"_s);
}

void ScriptedPrompter::refuse() {
    refusing = true;
    if (isUp()) {
        tell(asking, u"PromptReady"_s, {u"no"_s, QVariantMap(), QString()});
    }
}

void ScriptedPrompter::BeginPrompting(const QDBusObjectPath& callback, const QDBusMessage& message) {
    keyring = message.service();
    tell(callback, u"PromptReady"_s, {QString(), QVariantMap(), QString()});
}

void ScriptedPrompter::PerformPrompt(const QDBusObjectPath& callback, const QString&, const QVariantMap&,
                                     const QString&) {
    ++count;
    asking = callback;
    if (refusing) {
        refuse();
    }
}

void ScriptedPrompter::StopPrompting(const QDBusObjectPath& callback) {
    asking = {};
    tell(callback, u"PromptDone"_s, {});
}

void ScriptedPrompter::tell(const QDBusObjectPath& callback, const QString& method,
                            const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(keyring, callback.path(),
                                                  u"org.gnome.keyring.internal.Prompter.Callback"_s, method);
    message.setArguments(arguments);
    // Later than the answer to the call that is being served: the daemon takes them in that order only.
    QMetaObject::invokeMethod(
        this, [this, message] { connection.asyncCall(message); }, Qt::QueuedConnection);
}

} // namespace quillo::test
