#include "platform/hotkey/HotKeyService.h"

#include "BuildConfiguration.h"
#include "platform/desktop/Sandbox.h"
#include "platform/hotkey/PortalHotKeys.h"
#include "platform/hotkey/X11HotKeys.h"

#include <QDBusConnection>
#include <QGuiApplication>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

HotKeyWay hotKeyWay(const HotKeySurroundings& surroundings) {
    const bool ownsKeyboard = surroundings.qtPlatform == "xcb"_L1 && !surroundings.waylandSession;
    return ownsKeyboard && !surroundings.sandboxed ? HotKeyWay::x11 : HotKeyWay::portal;
}

std::unique_ptr<HotKeyService> HotKeyService::ofDesktop() {
    const HotKeySurroundings surroundings{QGuiApplication::platformName(),
                                          qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
                                              qEnvironmentVariable("XDG_SESSION_TYPE") == "wayland"_L1,
                                          isSandboxed()};
    switch (hotKeyWay(surroundings)) {
    case HotKeyWay::x11:
        return std::make_unique<X11HotKeys>();
    case HotKeyWay::portal:
        break;
    }
    return std::make_unique<PortalHotKeys>(QDBusConnection::sessionBus(), build::applicationId);
}

} // namespace quillo
