#include "platform/hotkey/PortalHotKeys.h"

#include "core/Promise.h"
#include "core/Task.h"
#include "core/TaskScope.h"
#include "platform/hotkey/PortalRequestInterface.h"
#include "platform/hotkey/PortalShortcut.h"
#include "platform/hotkey/PortalShortcutsInterface.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QObject>

#include <algorithm>
#include <functional>
#include <memory>
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
/// So is the session's token: for programs outside a sandbox, Plasma remembers the key by it.
const QString sessionToken = u"quillo"_s;
constexpr uint success = 0;
/// No code of the portal's: it did not take the request.
constexpr uint notTaken = ~0U;

QString newRequestToken() {
    static uint count = 0;
    return u"quillo%1"_s.arg(++count);
}

/// One shortcut at the portal: asks for it in a session of its own, and tells of its presses.
class PortalSession final : public HotKeyService::Registration {
public:
    using OnPress = std::function<void(const QString& activationToken)>;

    PortalSession(QDBusConnection connection, QString program, const QString& trigger, OnPress onPress)
        : bus(std::move(connection)),
          applicationId(std::move(program)),
          pressed(std::move(onPress)),
          watcher(service, bus, QDBusServiceWatcher::WatchForOwnerChange) {
        dbus::registerMetaTypes<portal::Shortcut>();
        shortcuts = {
            {shortcutId, {{u"description"_s, u"Open the ledger"_s}, {u"preferred_trigger"_s, trigger}}}};
        shortcutsPortal = std::make_unique<Portal>(service, desktopPath, bus);
        QObject::connect(
            &watcher, &QDBusServiceWatcher::serviceOwnerChanged, &context,
            [this](const QString&, const QString& old, const QString& now) { portalChanged(old, now); });
        QObject::connect(shortcutsPortal.get(), &Portal::Activated, &context,
                         [this](const QDBusObjectPath& session, const QString& id, qulonglong,
                                const QVariantMap& options) { activated(session.path(), id, options); });
        QObject::connect(shortcutsPortal.get(), &Portal::Deactivated, &context,
                         [this](const QDBusObjectPath& session, const QString& id, qulonglong,
                                const QVariantMap&) { deactivated(session.path(), id); });
        asking.spawn(ask());
    }

    ~PortalSession() override {
        if (request) {
            request->Close();
        }
        closeSession();
    }

private:
    enum class State {
        /// Nothing is under way: there is no portal, or it has no key to give.
        idle,
        asking,
        bound,
        /// The user, or the desktop in the user's name, said no.
        refused,
    };
    struct Response {
        uint code;
        QVariantMap results;
    };
    using Call = std::function<QDBusPendingCall(const QVariantMap& options)>;

    /// Outside a sandbox, a portal knows the program only by what it says of itself; one that has no such
    /// interface, or knows already, answers with an error that means nothing.
    void introduce() {
        auto call = QDBusMessage::createMethodCall(service, desktopPath,
                                                   u"org.freedesktop.host.portal.Registry"_s, u"Register"_s);
        call << applicationId << QVariantMap();
        bus.send(call);
    }

    void portalChanged(const QString& old, const QString& now) {
        if (!old.isEmpty()) {
            asking.cancelAll();
            request.reset();
            sessionPath.clear();
            isDown = false;
            if (state != State::refused) {
                state = State::idle;
            }
        }
        if (!now.isEmpty() && state == State::idle) {
            asking.spawn(ask());
        }
    }

    Task<> ask() {
        state = State::asking;
        introduce();
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
        const auto ours = std::ranges::find(given, shortcutId, &portal::Shortcut::id);
        if (bound.code != success || ours == given.end()) {
            giveUp(bound.code);
            co_return;
        }
        // Not bound without a key; the session stays, as it may get one yet, and some desktops never name it.
        state = ours->properties.value(u"trigger_description"_s) == QString() ? State::idle : State::bound;
    }

    void giveUp(uint code) {
        closeSession();
        state = code == notTaken ? State::idle : State::refused;
    }

    void activated(const QString& session, const QString& id, const QVariantMap& options) {
        if (state == State::asking || session != sessionPath || id != shortcutId || isDown) {
            return;
        }
        isDown = true;
        pressed(options.value(u"activation_token"_s).toString());
    }

    void deactivated(const QString& session, const QString& id) {
        if (session == sessionPath && id == shortcutId) {
            isDown = false;
        }
    }

    /// Listens for the answer before the question is asked: the path of the answer follows from the token
    /// (org.freedesktop.portal.Request).
    Task<Response> requested(Call call, QVariantMap options) {
        const auto token = newRequestToken();
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

    void closeSession() {
        if (!sessionPath.isEmpty()) {
            auto call = QDBusMessage::createMethodCall(service, sessionPath,
                                                       u"org.freedesktop.portal.Session"_s, u"Close"_s);
            call.setAutoStartService(false);
            bus.send(call);
            sessionPath.clear();
        }
    }

    QString handlePath(const QString& kind, const QString& token) const {
        auto sender = bus.baseService().mid(1);
        return desktopPath + u'/' + kind + u'/' + sender.replace(u'.', u'_') + u'/' + token;
    }

    QDBusConnection bus;
    QString applicationId;
    portal::Shortcuts shortcuts;
    OnPress pressed;
    State state = State::idle;
    QString sessionPath;
    /// Whether the key is down, as far as the portal has said.
    bool isDown = false;
    QDBusServiceWatcher watcher;
    std::unique_ptr<Portal> shortcutsPortal;
    std::unique_ptr<Request> request;
    QObject context;
    TaskScope asking;
};

} // namespace

PortalHotKeys::PortalHotKeys(QDBusConnection sessionBus, QString id)
    : bus(std::move(sessionBus)), applicationId(std::move(id)) {}

std::unique_ptr<HotKeyService::Registration> PortalHotKeys::registerHotKey(const HotKeyChord& chord,
                                                                           HotKeyIdentifier identifier) {
    if (!bus.isConnected()) {
        return nullptr;
    }
    return std::make_unique<PortalSession>(
        bus, applicationId, portalTrigger(chord),
        [this, identifier](const QString& activationToken) { press(identifier, activationToken); });
}

QString portalTrigger(const HotKeyChord& chord) {
    QString trigger;
    for (const auto& [modifier, name] : {std::pair{Qt::ControlModifier, "CTRL+"_L1},
                                         {Qt::AltModifier, "ALT+"_L1},
                                         {Qt::ShiftModifier, "SHIFT+"_L1},
                                         {Qt::MetaModifier, "LOGO+"_L1}}) {
        if (chord.modifiers.testFlag(modifier)) {
            trigger += name;
        }
    }
    return trigger + QLatin1Char(chord.letter);
}

} // namespace quillo
