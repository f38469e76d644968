#include "platform/hotkey/PortalSession.h"

#include "platform/hotkey/PortalRequestInterface.h"
#include "platform/hotkey/PortalShortcutsInterface.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

namespace {

using Portal = OrgFreedesktopPortalGlobalShortcutsInterface;
using Request = OrgFreedesktopPortalRequestInterface;

const QString service = u"org.freedesktop.portal.Desktop"_s;
const QString desktopPath = u"/org/freedesktop/portal/desktop"_s;
/// The only shortcut; it is part of what desktops remember, so it stays as it is.
const QString shortcutId = u"open-ledger"_s;
constexpr uint success = 0;

QString newToken() {
    static uint count = 0;
    return u"quillo%1"_s.arg(++count);
}

} // namespace

PortalSession::PortalSession(QDBusConnection connection, const QString& applicationId, const QString& trigger,
                             OnPress onPress)
    : bus(std::move(connection)),
      pressed(std::move(onPress)),
      watcher(service, bus, QDBusServiceWatcher::WatchForOwnerChange) {
    portal::registerTypes();
    shortcuts = {{shortcutId, {{u"description"_s, u"Open the ledger"_s}, {u"preferred_trigger"_s, trigger}}}};
    shortcutsPortal = std::make_unique<Portal>(service, desktopPath, bus);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, &context,
                     [this, applicationId](const QString&, const QString&, const QString& newOwner) {
                         portalChanged(newOwner);
                     });
    QObject::connect(shortcutsPortal.get(), &Portal::Activated, &context,
                     [this](const QDBusObjectPath& session, const QString& id, qulonglong,
                            const QVariantMap& options) { activated(session.path(), id, options); });
    QObject::connect(shortcutsPortal.get(), &Portal::Deactivated, &context,
                     [this](const QDBusObjectPath& session, const QString& id, qulonglong,
                            const QVariantMap&) { deactivated(session.path(), id); });
    introduce(applicationId);
    create();
}

PortalSession::~PortalSession() {
    forgetRequest();
    closeSession();
}

/// Outside a sandbox, a portal knows the program only by what it says of itself; one that has no such
/// interface, or knows already, answers with an error that means nothing.
void PortalSession::introduce(const QString& applicationId) {
    auto call = QDBusMessage::createMethodCall(service, desktopPath,
                                               u"org.freedesktop.host.portal.Registry"_s, u"Register"_s);
    call << applicationId << QVariantMap();
    bus.send(call);
}

void PortalSession::portalChanged(const QString& newOwner) {
    if (newOwner.isEmpty()) {
        request.reset();
        sessionPath.clear();
        isDown = false;
        if (state != State::refused) {
            state = State::idle;
        }
    } else if (state == State::idle) {
        create();
    }
}

void PortalSession::create() {
    state = State::creating;
    auto options = optionsOfRequest([this](uint response, const QVariantMap& results) {
        created(response, results); //
    });
    const auto sessionToken = newToken();
    options.insert(u"session_handle_token"_s, sessionToken);
    // Some desktops take the shortcuts here and ignore those of BindShortcuts.
    options.insert(u"shortcuts"_s, QVariant::fromValue(shortcuts));
    sessionPath = handlePath(u"session"_s, sessionToken);
    watchCall(shortcutsPortal->CreateSession(options));
}

void PortalSession::created(uint response, const QVariantMap& results) {
    // Text by the interface's history, an object path by its description.
    const auto handle = results.value(u"session_handle"_s);
    const auto path =
        handle.canConvert<QDBusObjectPath>() ? handle.value<QDBusObjectPath>().path() : handle.toString();
    // The path follows from the token (org.freedesktop.portal.Session).
    if (response != success || path != sessionPath) {
        refuse();
        return;
    }
    bind();
}

void PortalSession::bind() {
    state = State::binding;
    const auto options = optionsOfRequest([this](uint response, const QVariantMap& results) {
        bindingEnded(response, results); //
    });
    watchCall(shortcutsPortal->BindShortcuts(QDBusObjectPath(sessionPath), shortcuts, QString(), options));
}

void PortalSession::bindingEnded(uint response, const QVariantMap& results) {
    const auto given = portal::shortcutsOf(results.value(u"shortcuts"_s));
    const bool isOurs = std::ranges::any_of(given, [](const auto& each) { return each.id == shortcutId; });
    if (response != success || !isOurs) {
        refuse();
        return;
    }
    state = State::bound;
}

void PortalSession::refuse() {
    closeSession();
    state = State::refused;
}

void PortalSession::activated(const QString& session, const QString& id, const QVariantMap& options) {
    if (state != State::bound || session != sessionPath || id != shortcutId || isDown) {
        return;
    }
    isDown = true;
    pressed(options.value(u"activation_token"_s).toString());
}

void PortalSession::deactivated(const QString& session, const QString& id) {
    if (session == sessionPath && id == shortcutId) {
        isDown = false;
    }
}

/// Listens for the answer before the question is asked: the path of the answer follows from the token
/// (org.freedesktop.portal.Request).
QVariantMap PortalSession::optionsOfRequest(OnResponse onResponse) {
    const auto token = newToken();
    request = std::make_unique<Request>(service, handlePath(u"request"_s, token), bus);
    QObject::connect(request.get(), &Request::Response, &context,
                     [this, onResponse = std::move(onResponse)](uint response, const QVariantMap& results) {
                         // A second answer finds nobody. Not destroyed inside its own signal.
                         request->disconnect(&context);
                         request.release()->deleteLater();
                         onResponse(response, results);
                     });
    return {{u"handle_token"_s, token}};
}

void PortalSession::watchCall(const QDBusPendingCall& call) {
    auto* const ended = new QDBusPendingCallWatcher(call, &context);
    QObject::connect(ended, &QDBusPendingCallWatcher::finished, &context,
                     [this, ended, path = request->path()] {
                         ended->deleteLater();
                         if (ended->isError() && request && request->path() == path) {
                             request.reset();
                             closeSession();
                             state = State::idle;
                         }
                     });
}

void PortalSession::forgetRequest() {
    if (request) {
        request->Close();
        request.reset();
    }
}

void PortalSession::closeSession() {
    if (!sessionPath.isEmpty()) {
        auto call = QDBusMessage::createMethodCall(service, sessionPath, u"org.freedesktop.portal.Session"_s,
                                                   u"Close"_s);
        call.setAutoStartService(false);
        bus.send(call);
        sessionPath.clear();
    }
}

QString PortalSession::handlePath(const QString& kind, const QString& token) const {
    auto sender = bus.baseService().mid(1);
    return desktopPath + u'/' + kind + u'/' + sender.replace(u'.', u'_') + u'/' + token;
}

} // namespace quillo
