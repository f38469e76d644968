#include "core/LocalizedError.h"
#include "platform/desktop/LoginItem.h"
#include "store/AppStore.h"

/// Starting at login: further members of the store.
namespace quillo {

void AppStore::applyLaunchAtLogin(bool enabled) {
    try {
        if (enabled) {
            services.loginItem.register_();
        } else {
            services.loginItem.unregister();
        }
    } catch (const LocalizedError& error) {
        lastError = QStringLiteral("Login item update failed: ") + error.errorDescription();
    }
}

std::optional<QString> AppStore::loginItemStatusMessage() const {
    switch (services.loginItem.status()) {
    case LoginItemStatus::requiresApproval:
        return QStringLiteral(
            "Approval needed — open System Settings → General → Login Items and enable Quillo.");
    case LoginItemStatus::notFound:
        return QStringLiteral("Login item couldn't be registered (app must live in /Applications).");
    case LoginItemStatus::notRegistered:
    case LoginItemStatus::enabled:
        break;
    }
    return std::nullopt;
}

} // namespace quillo
