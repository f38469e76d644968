#pragma once

namespace quillo {

/// Whether the program runs in a sandbox (Flatpak or Snap), in which the desktop is reached by portals only.
[[nodiscard]] bool isSandboxed();

} // namespace quillo
