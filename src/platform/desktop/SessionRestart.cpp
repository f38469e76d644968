#include "platform/desktop/SessionRestart.h"

#include <QGuiApplication>
#include <QSessionManager>

namespace quillo {

void declineSessionRestart(const QGuiApplication& application) {
    // Which of the two a manager sends, and in which order, is its choice.
    const auto decline = [](QSessionManager& manager) {
        manager.setRestartHint(QSessionManager::RestartNever); //
    };
    QObject::connect(&application, &QGuiApplication::saveStateRequest, &application, decline,
                     Qt::DirectConnection);
    QObject::connect(&application, &QGuiApplication::commitDataRequest, &application, decline,
                     Qt::DirectConnection);
}

} // namespace quillo
