#include "platform/hotkey/HotKeyService.h"

#include "BuildConfiguration.h"
#include "platform/desktop/Sandbox.h"
#include "platform/hotkey/PortalHotKeys.h"
#include "platform/hotkey/X11HotKeys.h"

#include <QDBusConnection>
#include <QGuiApplication>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

bool mayGrabKeys(const HotKeySurroundings& surroundings) {
    return surroundings.qtPlatform == "xcb"_L1 && !surroundings.waylandSession && !surroundings.sandboxed;
}

std::unique_ptr<HotKeyService> HotKeyService::ofDesktop() {
    const HotKeySurroundings surroundings{QGuiApplication::platformName(),
                                          qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
                                              qEnvironmentVariable("XDG_SESSION_TYPE") == "wayland"_L1,
                                          isSandboxed()};
    if (mayGrabKeys(surroundings)) {
        return std::make_unique<X11HotKeys>();
    }
    return std::make_unique<PortalHotKeys>(QDBusConnection::sessionBus(), build::applicationId);
}

} // namespace quillo
