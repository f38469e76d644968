#pragma once

#include "core/Signal.h"
#include "core/TaskScope.h"
#include "platform/desktop/LoginItem.h"

#include <QDBusConnection>

namespace quillo {

/// Starting at login out of a sandbox, whose autostart folder no desktop reads: the portal
/// `org.freedesktop.portal.Background` is asked, which may ask the user, and its last answer counts.
class PortalAutostart {
public:
    explicit PortalAutostart(QDBusConnection sessionBus);

    /// Asks to be started at login, or not to be any more; an earlier question is taken back.
    void request(bool startsAtLogin);

    /// Until the answer is there, what was asked for.
    [[nodiscard]] LoginItemStatus status() const noexcept { return state; }

    /// An answer has come that differs from what was asked for.
    Signal<> changed;

private:
    [[nodiscard]] Task<> ask(bool startsAtLogin);

    QDBusConnection bus;
    LoginItemStatus state = LoginItemStatus::notRegistered;
    TaskScope asking;
};

} // namespace quillo
