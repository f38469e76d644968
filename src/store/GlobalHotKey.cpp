#include "store/GlobalHotKey.h"

#include "platform/desktop/ActivationToken.h"

#include <optional>
#include <utility>

namespace quillo {

namespace {

/// Absent when a key code or a modifier bit is not among the constants.
std::optional<HotKeyChord> chordOf(quint32 keyCode, quint32 modifiers) {
    HotKeyChord chord;
    switch (keyCode) {
    case GlobalHotKey::keyR:
        chord.letter = 'r';
        break;
    case GlobalHotKey::keyL:
        chord.letter = 'l';
        break;
    default:
        return std::nullopt;
    }
    const auto take = [&](quint32 bit, Qt::KeyboardModifier modifier) {
        chord.modifiers.setFlag(modifier, (modifiers & bit) != 0);
        modifiers &= ~bit;
    };
    take(GlobalHotKey::cmd, Qt::ControlModifier);
    take(GlobalHotKey::shift, Qt::ShiftModifier);
    take(GlobalHotKey::option, Qt::AltModifier);
    take(GlobalHotKey::control, Qt::MetaModifier);
    return modifiers == 0 ? std::optional(chord) : std::nullopt;
}

} // namespace

GlobalHotKey& GlobalHotKey::shared() {
    // Never destroyed: the desktop takes the key back when the process ends, and by then the application
    // object that the service needs is gone.
    static auto* const instance = new GlobalHotKey(HotKeyService::ofDesktop());
    return *instance;
}

GlobalHotKey::GlobalHotKey(std::unique_ptr<HotKeyService> hotKeyService) : service(std::move(hotKeyService)) {
    service->installHandler([this](const HotKeyPress& press) { hotKeyPressed(press); });
}

void GlobalHotKey::register_(quint32 keyCode, quint32 modifiers, Callback action) {
    hotKeyRef.reset(); // before the next, or the two would contend for one key
    callback = std::move(action);
    if (const auto chord = chordOf(keyCode, modifiers)) {
        hotKeyRef = service->registerHotKey(*chord, identifier);
    }
}

void GlobalHotKey::unregister() {
    hotKeyRef.reset();
    callback = {};
}

void GlobalHotKey::hotKeyPressed(const HotKeyPress& press) {
    // The id alone counts, whatever the signature.
    if (press.identifier.id != identifier.id) {
        return;
    }
    QMetaObject::invokeMethod(
        &context,
        [this, token = press.activationToken] {
            if (const auto action = callback) {
                ActivationToken::offer(token);
                action();
            }
        },
        Qt::QueuedConnection);
}

} // namespace quillo
