#pragma once

#include "core/Task.h"
#include "core/TaskScope.h"
#include "platform/hotkey/HotKeyService.h"
#include "platform/hotkey/PortalShortcut.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class OrgFreedesktopPortalGlobalShortcutsInterface;
class OrgFreedesktopPortalRequestInterface;

namespace quillo {

/// One shortcut at the portal: asks for it in a session of its own, and tells of its presses.
class PortalSession final : public HotKeyService::Registration {
public:
    using OnPress = std::function<void(const QString& activationToken)>;

    PortalSession(QDBusConnection bus, const QString& applicationId, const QString& trigger, OnPress onPress);
    ~PortalSession() override;

private:
    enum class State {
        /// Nothing is under way: there is no portal, or it cannot do it.
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

    void introduce(const QString& applicationId);
    void portalChanged(const QString& newOwner);
    [[nodiscard]] Task<> ask();
    [[nodiscard]] Task<Response> requested(Call call, QVariantMap options);
    void giveUp(uint code);
    void activated(const QString& session, const QString& id, const QVariantMap& options);
    void deactivated(const QString& session, const QString& id);
    void closeSession();
    [[nodiscard]] QString handlePath(const QString& kind, const QString& token) const;

    QDBusConnection bus;
    portal::Shortcuts shortcuts;
    OnPress pressed;
    State state = State::idle;
    QString sessionPath;
    /// Whether the key is down, as far as the portal has said.
    bool isDown = false;
    QDBusServiceWatcher watcher;
    std::unique_ptr<OrgFreedesktopPortalGlobalShortcutsInterface> shortcutsPortal;
    std::unique_ptr<OrgFreedesktopPortalRequestInterface> request;
    QObject context;
    TaskScope asking;
};

} // namespace quillo
