#pragma once

#include "ui/MenuBarContent.h"

class QMainWindow;

namespace quillo {

class MenuRenderer;

/// Adds the application menu to a window's menu bar: About, "Refresh", "Settings…", the status item's whole
/// menu, so that a desktop without a tray loses nothing, and "Quit Quillo". The menu handed back is the
/// status item's, empty still; it lives as long as the window.
[[nodiscard]] MenuRenderer* addApplicationMenu(QMainWindow& window, const MenuActions& actions);

} // namespace quillo
