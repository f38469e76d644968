#pragma once

#include "platform/hotkey/HotKeyService.h"

#include <QObject>

#include <functional>
#include <memory>

namespace quillo {

/// One key that works in every program. For the main thread.
///
/// When the key cannot be had there is silently none.
class GlobalHotKey {
public:
    using Callback = std::function<void()>;

    // Positions of letters on the ANSI keyboard; here they name the key that types the letter.
    static constexpr quint32 keyR = 0x0F;
    static constexpr quint32 keyL = 0x25;

    // Bits of the modifiers. The Command key is Control here, and Control is the Super key.
    static constexpr quint32 cmd = 0x0100;
    static constexpr quint32 shift = 0x0200;
    static constexpr quint32 option = 0x0800;
    static constexpr quint32 control = 0x1000;

    /// "QUIL", 1: what the key is registered as.
    static constexpr HotKeyIdentifier identifier{0x5155494C, 1};

    /// The one instance of the program, made on first use; it lives as long as the process. Needs a
    /// `QGuiApplication`.
    [[nodiscard]] static GlobalHotKey& shared();

    /// Keys of the given service.
    explicit GlobalHotKey(std::unique_ptr<HotKeyService> hotKeyService);
    GlobalHotKey(const GlobalHotKey&) = delete;
    GlobalHotKey& operator=(const GlobalHotKey&) = delete;

    /// Registers the key in place of the one before, if any. `callback` is called on a later turn of the loop
    /// than each press; an activation token that came with the press has been offered then
    /// (`ActivationToken`). A key code or modifier without a meaning here gives no hot key.
    void register_(quint32 keyCode, quint32 modifiers, Callback callback);

    /// Gives the key back. A press that is on its way calls nobody any more.
    void unregister();

    /// Whether the desktop took the registration.
    [[nodiscard]] bool isRegistered() const noexcept { return hotKeyRef != nullptr; }

private:
    void hotKeyPressed(const HotKeyPress& press);

    std::unique_ptr<HotKeyService> service;
    std::unique_ptr<HotKeyService::Registration> hotKeyRef;
    Callback callback;
    QObject context;
};

} // namespace quillo
