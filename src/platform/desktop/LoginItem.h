#pragma once

#include "core/LocalizedError.h"
#include "core/Signal.h"

#include <QString>

#include <functional>
#include <memory>

namespace quillo {

class PortalAutostart;

enum class LoginItemStatus {
    /// There is no entry, or one that starts nothing.
    notRegistered,
    /// The desktop starts the program when the user logs in.
    enabled,
    /// There is an entry, and the user switched it off in the desktop's own settings.
    requiresApproval,
    /// The program is not installed: its desktop file is in no folder that desktops look in.
    notFound,
};

/// The login item could not be changed; carries what stood in the way.
class LoginItemError final : public LocalizedError {
public:
    using LocalizedError::LocalizedError;
};

/// Starts the program when the user logs in, by an entry in the user's autostart folder
/// (Desktop Application Autostart Specification), or out of a sandbox by the desktop's portal.
///
/// Nothing is kept in memory: each call looks at the file and the environment as they are then. Every call
/// reads or writes one small local file.
class LoginItem {
public:
    /// The login item of the running program, in a sandbox or not.
    [[nodiscard]] static LoginItem mainApp();

    /// `applicationId` names the entry and the desktop file; `program` is the absolute path that is started.
    LoginItem(QString applicationId, QString program);

    [[nodiscard]] LoginItemStatus status() const;

    /// Tells when the status has changed later than a call, as a portal's answer does.
    [[nodiscard]] Observation observeAnswers(std::function<void()> observer) const;

    /// Writes the entry, unless one that starts something is there already. An entry that the user switched
    /// off stays as it is. Throws `LoginItemError`.
    void register_() const;

    /// Takes the entry away. One that the user switched off stays, so that it stays off. Throws
    /// `LoginItemError`.
    void unregister() const;

    /// `$XDG_CONFIG_HOME/autostart/APPLICATION-ID.desktop`.
    [[nodiscard]] QString entryPath() const;

private:
    [[nodiscard]] bool isInstalled() const;

    QString applicationId;
    QString program;
    std::shared_ptr<PortalAutostart> portal; ///< only in a sandbox
};

} // namespace quillo
