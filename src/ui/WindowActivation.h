#pragma once

class QWidget;

namespace quillo {

/// Shows the window, not minimised, in front of every other program's windows and with the focus, as far as
/// the desktop lets a program do that: on Wayland it takes the activation token that came with the user's
/// request (see `ActivationToken`).
void bringToFront(QWidget& window);

} // namespace quillo
