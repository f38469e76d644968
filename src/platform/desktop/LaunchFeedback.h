#pragma once

#include <QByteArray>
#include <QString>

namespace quillo {

/// Tells an X11 desktop that the program which it launched under `startupId` has started, so that it stops
/// showing its busy pointer (Startup Notification Protocol). Toolkits say so when the first window appears;
/// this program shows none. Does nothing without an id or without an X server. `display` is as in the
/// variable DISPLAY, which counts when it is empty.
void endLaunchFeedback(const QString& startupId, const QByteArray& display = {});

} // namespace quillo
