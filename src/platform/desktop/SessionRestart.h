#pragma once

#include <QGuiApplication>
#include <QSessionManager>

namespace quillo {

/// Has session managers (X Session Management Protocol) leave the program out of the sessions they save. It
/// is started at login by its autostart entry; a manager that started it too would start it a second time,
/// and that opens the ledger window.
inline void declineSessionRestart(const QGuiApplication& application) {
    // Which of the two a manager sends, and in which order, is its choice.
    for (const auto request : {&QGuiApplication::saveStateRequest, &QGuiApplication::commitDataRequest}) {
        QObject::connect(
            &application, request, &application,
            [](QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); },
            Qt::DirectConnection);
    }
}

} // namespace quillo
