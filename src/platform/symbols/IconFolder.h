#pragma once

#include <QString>

namespace quillo {

/// The name of a symbol's icon: "exclamationmark.circle" is "quillo-exclamationmark-circle-symbolic".
[[nodiscard]] QString symbolIconName(const QString& symbol);

/// The file of a symbol that panels show, among those that the program carries.
[[nodiscard]] QString carriedIcon(const QString& symbol);

/// Where panels find the program's icons, as `IconThemePath` wants it: the icon theme folder that the program
/// was installed with, else a folder of the user's own with a copy of the icons that the program carries,
/// written anew where it differs; in a Flatpak one that has the same path for the panel. Empty when neither
/// is to be had.
[[nodiscard]] QString iconThemePath();

/// The icon theme folder beside an executable in `executableFolder`; empty when the program is not installed
/// there.
[[nodiscard]] QString installedIconFolder(const QString& executableFolder);

/// Makes `folder` hold the program's icons, each as a file of its own, whole at any moment and for the user
/// alone. False when it cannot be done.
[[nodiscard]] bool writeIcons(const QString& folder);

} // namespace quillo
