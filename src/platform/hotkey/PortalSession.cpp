#include "platform/hotkey/PortalSession.h"

#include "core/Promise.h"
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
/// No code of the portal's: it did not take the request.
constexpr uint notTaken = ~0U;

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
    asking.spawn(ask());
}

PortalSession::~PortalSession() {
    if (request) {
        request->Close();
    }
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
        asking.cancelAll();
        request.reset();
        sessionPath.clear();
        isDown = false;
        if (state != State::refused) {
            state = State::idle;
        }
    } else if (state == State::idle) {
        asking.spawn(ask());
    }
}

Task<> PortalSession::ask() {
    state = State::asking;
    const auto sessionToken = newToken();
    sessionPath = handlePath(u"session"_s, sessionToken);
    // Some desktops take the shortcuts here and ignore those of BindShortcuts.
    const QVariantMap options{{u"session_handle_token"_s, sessionToken},
                              {u"shortcuts"_s, QVariant::fromValue(shortcuts)}};
    const auto create = [this](const QVariantMap& all) { return shortcutsPortal->CreateSession(all); };
    auto creating = requested(create, options);
    const auto created = co_await creating;
    // Text by the interface's history, an object path by its description.
    const auto handle = created.results.value(u"session_handle"_s);
    const auto path =
        handle.canConvert<QDBusObjectPath>() ? handle.value<QDBusObjectPath>().path() : handle.toString();
    // The path follows from the token (org.freedesktop.portal.Session).
    if (created.code != success || path != sessionPath) {
        giveUp(created.code);
        co_return;
    }
    const auto bind = [this](const QVariantMap& all) {
        return shortcutsPortal->BindShortcuts(QDBusObjectPath(sessionPath), shortcuts, {}, all);
    };
    auto binding = requested(bind, {});
    const auto bound = co_await binding;
    const auto given = portal::shortcutsOf(bound.results.value(u"shortcuts"_s));
    const bool isOurs = std::ranges::any_of(given, [](const auto& each) { return each.id == shortcutId; });
    if (bound.code != success || !isOurs) {
        giveUp(bound.code);
        co_return;
    }
    state = State::bound;
}

void PortalSession::giveUp(uint code) {
    closeSession();
    state = code == notTaken ? State::idle : State::refused;
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
Task<PortalSession::Response> PortalSession::requested(Call call, QVariantMap options) {
    const auto token = newToken();
    options.insert(u"handle_token"_s, token);
    request = std::make_unique<Request>(service, handlePath(u"request"_s, token), bus);
    Promise<Response> response;
    auto answer = response.task();
    QObject::connect(request.get(), &Request::Response, request.get(),
                     [response](uint code, const QVariantMap& results) {
                         response.fulfil({code, results});
                     });
    QDBusPendingCallWatcher taken(call(options));
    QObject::connect(&taken, &QDBusPendingCallWatcher::finished, &taken, [&] {
        if (taken.isError()) {
            response.fulfil({notTaken, {}});
        }
    });
    auto result = co_await answer;
    request.reset();
    co_return result;
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
