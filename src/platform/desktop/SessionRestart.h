#pragma once

class QGuiApplication;

namespace quillo {

/// Has session managers (X Session Management Protocol) leave the program out of the sessions they save. It
/// is started at login by its autostart entry; a manager that started it too would start it a second time,
/// and that opens the ledger window.
void declineSessionRestart(const QGuiApplication& application);

} // namespace quillo
