#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>
#include <memory>

namespace quillo {

/// A key with modifiers. The key is the one that types `letter` (a Latin letter in lower case) on the user's
/// keyboard.
struct HotKeyChord {
    char letter = 0;
    Qt::KeyboardModifiers modifiers = {};

    [[nodiscard]] friend bool operator==(const HotKeyChord&, const HotKeyChord&) = default;
};

/// What a registration is told apart by when its key is pressed.
struct HotKeyIdentifier {
    quint32 signature = 0;
    quint32 id = 0;

    [[nodiscard]] friend bool operator==(const HotKeyIdentifier&, const HotKeyIdentifier&) = default;
};

struct HotKeyPress {
    HotKeyIdentifier identifier = {};
    /// Lets the program's window come to the front; empty where the desktop gives none.
    QString activationToken = {};
};

/// The desktop's way of giving this program keys that work in every other program.
class HotKeyService {
public:
    /// Called once for each press of a registered key, however long it is held. It must not destroy the
    /// registration: what that needs is done on a later turn of the loop.
    using PressHandler = std::function<void(const HotKeyPress&)>;

    /// A key that is registered, or being registered; destroying it gives the key back.
    class Registration {
    public:
        Registration() = default;
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;
        virtual ~Registration() = default;
    };

    HotKeyService() = default;
    HotKeyService(const HotKeyService&) = delete;
    HotKeyService& operator=(const HotKeyService&) = delete;
    virtual ~HotKeyService() = default;

    /// The service of the desktop that the program runs on. Needs a `QGuiApplication`.
    [[nodiscard]] static std::unique_ptr<HotKeyService> ofDesktop();

    /// Whom presses are told from now on.
    void installHandler(PressHandler handler) { pressHandler = std::move(handler); }

    /// Asks for the key. Null when it cannot be had; where the desktop asks the user first, it may also turn
    /// out later that the key never comes.
    [[nodiscard]] virtual std::unique_ptr<Registration> registerHotKey(const HotKeyChord& chord,
                                                                       HotKeyIdentifier identifier) = 0;

protected:
    void press(HotKeyIdentifier identifier, const QString& activationToken = {}) const {
        if (pressHandler) {
            pressHandler({identifier, activationToken});
        }
    }

private:
    PressHandler pressHandler;
};

/// What the way to keys depends on.
struct HotKeySurroundings {
    /// `QGuiApplication::platformName()`.
    QString qtPlatform = {};
    /// Whether the session's own display is a Wayland one: a grab on its X server would see the key only in
    /// X11 programs.
    bool waylandSession = false;
    /// Whether the program runs in a sandbox that keeps other programs' keys from it.
    bool sandboxed = false;
};

/// Whether the X server gives the program keys of every other one; else there is only the portal.
[[nodiscard]] bool mayGrabKeys(const HotKeySurroundings& surroundings);

} // namespace quillo
