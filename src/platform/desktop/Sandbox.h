#pragma once

#include <QFileInfo>

namespace quillo {

/// Whether the program runs in a sandbox (Flatpak or Snap), in which the desktop is reached by portals only.
[[nodiscard]] inline bool isSandboxed() {
    return QFileInfo::exists(QStringLiteral("/.flatpak-info")) || qEnvironmentVariableIsSet("SNAP_NAME");
}

} // namespace quillo
