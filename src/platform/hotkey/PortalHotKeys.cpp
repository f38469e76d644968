#include "platform/hotkey/PortalHotKeys.h"

#include "core/Task.h"
#include "core/TaskScope.h"
#include "platform/desktop/PortalRequest.h"
#include "platform/hotkey/PortalShortcut.h"
#include "platform/hotkey/PortalShortcutsInterface.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
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

/// The only shortcut; it is part of what desktops remember, so it stays as it is.
const QString shortcutId = u"open-ledger"_s;
/// So is the session's token: for programs outside a sandbox, Plasma remembers the key by it.
const QString sessionToken = u"quillo"_s;

/// One shortcut at the portal: asks for it in a session of its own, and tells of its presses.
class PortalSession final : public HotKeyService::Registration {
public:
    using OnPress = std::function<void(const QString& activationToken)>;

    PortalSession(QDBusConnection connection, QString program, const QString& trigger, OnPress onPress)
        : bus(std::move(connection)),
          applicationId(std::move(program)),
          pressed(std::move(onPress)),
          watcher(portal::service, bus, QDBusServiceWatcher::WatchForOwnerChange) {
        dbus::registerMetaTypes<portal::Shortcut>();
        shortcuts = {
            {shortcutId, {{u"description"_s, u"Open the ledger"_s}, {u"preferred_trigger"_s, trigger}}}};
        shortcutsPortal = std::make_unique<Portal>(portal::service, portal::desktopPath, bus);
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
        asking.cancelAll();
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

    /// Outside a sandbox, a portal knows the program only by what it says of itself; one that has no such
    /// interface, or knows already, answers with an error that means nothing.
    void introduce() {
        auto call = QDBusMessage::createMethodCall(portal::service, portal::desktopPath,
                                                   u"org.freedesktop.host.portal.Registry"_s, u"Register"_s);
        call << applicationId << QVariantMap();
        bus.send(call);
    }

    void portalChanged(const QString& old, const QString& now) {
        if (!old.isEmpty()) {
            asking.cancelAll();
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
        sessionPath = portal::handlePath(bus, u"session"_s, sessionToken);
        // Some desktops take the shortcuts here and ignore those of BindShortcuts.
        const QVariantMap options{{u"session_handle_token"_s, sessionToken},
                                  {u"shortcuts"_s, QVariant::fromValue(shortcuts)}};
        const auto create = [this](const QVariantMap& all) { return shortcutsPortal->CreateSession(all); };
        auto creating = portal::ask(bus, create, options);
        const auto created = co_await creating;
        // Text by the interface's history, an object path by its description.
        const auto handle = created.results.value(u"session_handle"_s);
        const auto path =
            handle.canConvert<QDBusObjectPath>() ? handle.value<QDBusObjectPath>().path() : handle.toString();
        // The path follows from the token (org.freedesktop.portal.Session).
        if (created.code != portal::Response::success || path != sessionPath) {
            giveUp(created.code);
            co_return;
        }
        const auto bind = [this](const QVariantMap& all) {
            return shortcutsPortal->BindShortcuts(QDBusObjectPath(sessionPath), shortcuts, {}, all);
        };
        const QVariantMap none;
        auto binding = portal::ask(bus, bind, none);
        const auto bound = co_await binding;
        const auto given = portal::shortcutsOf(bound.results.value(u"shortcuts"_s));
        const auto ours = std::ranges::find(given, shortcutId, &portal::Shortcut::id);
        if (bound.code != portal::Response::success || ours == given.end()) {
            giveUp(bound.code);
            co_return;
        }
        // Not bound without a key; the session stays, as it may get one yet, and some desktops never name it.
        state = ours->properties.value(u"trigger_description"_s) == QString() ? State::idle : State::bound;
    }

    void giveUp(uint code) {
        closeSession();
        state = code == portal::Response::notTaken ? State::idle : State::refused;
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

    void closeSession() {
        if (!sessionPath.isEmpty()) {
            auto call = QDBusMessage::createMethodCall(portal::service, sessionPath,
                                                       u"org.freedesktop.portal.Session"_s, u"Close"_s);
            call.setAutoStartService(false);
            bus.send(call);
            sessionPath.clear();
        }
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
