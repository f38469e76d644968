#include "platform/hotkey/PortalHotKeys.h"

#include "platform/hotkey/PortalSession.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

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
    const auto add = [&](Qt::KeyboardModifier modifier, QLatin1StringView name) {
        if (chord.modifiers.testFlag(modifier)) {
            trigger += name + u'+';
        }
    };
    add(Qt::ControlModifier, "CTRL"_L1);
    add(Qt::AltModifier, "ALT"_L1);
    add(Qt::ShiftModifier, "SHIFT"_L1);
    add(Qt::MetaModifier, "LOGO"_L1);
    return trigger + QLatin1Char(chord.letter);
}

} // namespace quillo
