#include "platform/hotkey/ScriptedPortal.h"

#include <QDBusObjectPath>

using namespace Qt::Literals::StringLiterals;

namespace quillo::test {

namespace {

const QString desktopPath = u"/org/freedesktop/portal/desktop"_s;

QVariantMap mapOf(const QVariant& argument) {
    return qdbus_cast<QVariantMap>(argument);
}

QString handleOf(const QString& kind, const QDBusMessage& call, const QString& token) {
    auto sender = call.service().mid(1);
    return desktopPath + u'/' + kind + u'/' + sender.replace(u'.', u'_') + u'/' + token;
}

} // namespace

ScriptedObject::ScriptedObject(QDBusConnection bus, const QString& service, Answer answer)
    : connection(std::move(bus)), name(service), script(std::move(answer)) {
    dbus::registerMetaTypes<portal::Shortcut>();
    if (!connection.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath) ||
        !connection.registerService(name)) {
        qFatal("the bus does not give away %s", qPrintable(name));
    }
}

ScriptedObject::~ScriptedObject() {
    connection.unregisterService(name);
    connection.unregisterObject(u"/"_s, QDBusConnection::UnregisterTree);
}

QString ScriptedObject::introspect(const QString&) const {
    return {};
}

bool ScriptedObject::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    return script(message);
}

ScriptedBackEnd::ScriptedBackEnd(QDBusConnection connection)
    : bus(connection), object(connection, service(), [this](const auto& call) { return answer(call); }) {}

QString ScriptedBackEnd::service() {
    return u"org.freedesktop.impl.portal.desktop.quillotest"_s;
}

bool ScriptedBackEnd::answer(const QDBusMessage& call) {
    const auto arguments = call.arguments();
    if (call.member() == "CreateSession"_L1) {
        ++created;
        session = arguments.at(1).value<QDBusObjectPath>().path();
        atCreation = portal::shortcutsOf(mapOf(arguments.at(3)).value(u"shortcuts"_s));
        return bus.send(call.createReply(
            {createResponse, QVariantMap{{u"shortcuts"_s, QVariant::fromValue(atCreation)}}}));
    }
    if (call.member() == "BindShortcuts"_L1) {
        ++bindings;
        atBinding = portal::shortcutsOf(arguments.at(2));
        const QVariantMap results{{u"shortcuts"_s, QVariant::fromValue(bound.value_or(atBinding))}};
        return !answersBind || bus.send(call.createReply({bindResponse, results}));
    }
    if (call.member() == "Close"_L1) {
        ++closed;
        return bus.send(call.createReply());
    }
    if (call.member() == "GetAll"_L1) {
        return bus.send(call.createReply(QVariantMap{{u"version"_s, 1u}}));
    }
    return false;
}

void ScriptedBackEnd::activate(const QString& id, const QVariantMap& options) {
    emitSignal(u"Activated"_s, id, options);
}

void ScriptedBackEnd::deactivate(const QString& id) {
    emitSignal(u"Deactivated"_s, id, {});
}

void ScriptedBackEnd::emitSignal(const QString& name, const QString& id, const QVariantMap& options) {
    auto signal =
        QDBusMessage::createSignal(desktopPath, u"org.freedesktop.impl.portal.GlobalShortcuts"_s, name);
    signal << QVariant::fromValue(QDBusObjectPath(session)) << id << qulonglong(0) << options;
    bus.send(signal);
}

ScriptedFrontEnd::ScriptedFrontEnd(QDBusConnection connection)
    : bus(connection), object(connection, u"org.freedesktop.portal.Desktop"_s, [this](const auto& call) {
          return answer(call);
      }) {}

bool ScriptedFrontEnd::answer(const QDBusMessage& call) {
    calls << call.member();
    if (refusesCalls) {
        return false;
    }
    const bool creates = call.member() == "CreateSession"_L1;
    if (!creates && call.member() != "BindShortcuts"_L1) {
        return bus.send(call.createReply());
    }
    const auto token = mapOf(call.arguments().constLast()).value(u"handle_token"_s).toString();
    bus.send(call.createReply(QVariant::fromValue(QDBusObjectPath(handleOf(u"request"_s, call, token)))));
    if (const auto& then = creates ? onCreate : onBind) {
        then(call);
    }
    return true;
}

QString ScriptedFrontEnd::sessionOf(const QDBusMessage& createCall) {
    const auto options = mapOf(createCall.arguments().constFirst());
    return handleOf(u"session"_s, createCall, options.value(u"session_handle_token"_s).toString());
}

void ScriptedFrontEnd::respond(const QDBusMessage& call, uint response, const QVariantMap& results) {
    const auto token = mapOf(call.arguments().constLast()).value(u"handle_token"_s).toString();
    auto signal = QDBusMessage::createSignal(handleOf(u"request"_s, call, token),
                                             u"org.freedesktop.portal.Request"_s, u"Response"_s);
    signal << response << results;
    bus.send(signal);
}

void ScriptedFrontEnd::activate(const QString& session) {
    auto signal =
        QDBusMessage::createSignal(desktopPath, u"org.freedesktop.portal.GlobalShortcuts"_s, u"Activated"_s);
    signal << QVariant::fromValue(QDBusObjectPath(session)) << u"open-ledger"_s << qulonglong(0)
           << QVariantMap();
    bus.send(signal);
}

} // namespace quillo::test
