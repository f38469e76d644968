#pragma once

#include "platform/hotkey/HotKeyService.h"

#include <QDBusConnection>
#include <QString>

namespace quillo {

/// Keys by the portal `org.freedesktop.portal.GlobalShortcuts`. The desktop asks the user, who may choose
/// another key or none; nothing here waits for that. A portal that is started again is asked again, unless
/// the user refused.
class PortalHotKeys final : public HotKeyService {
public:
    PortalHotKeys(QDBusConnection sessionBus, QString applicationId);

    /// Null without a session bus. Whether there is a portal and what it answers shows later, and then only
    /// by whether the key works.
    [[nodiscard]] std::unique_ptr<Registration> registerHotKey(const HotKeyChord& chord,
                                                               HotKeyIdentifier identifier) override;

private:
    QDBusConnection bus;
    QString applicationId;
};

/// The chord as the portal's `preferred_trigger`, as in "CTRL+SHIFT+r" (XDG shortcuts specification).
[[nodiscard]] QString portalTrigger(const HotKeyChord& chord);

} // namespace quillo
