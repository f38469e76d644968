#pragma once

#include "core/Task.h"

#include <QDBusConnection>
#include <QDBusObjectPath>

class OrgFreedesktopSecretServiceInterface;

namespace quillo {

/// Has the Secret Service ask the user to unlock the default collection, or to make one where there is none.
///
/// Nothing blocks, and the prompt may stay unanswered for hours. Dropping the task forgets the answer but
/// never takes the prompt back, which gnome-keyring 42 does not survive.
class CollectionOpener {
public:
    /// `service` belongs to the caller, who keeps it for as long as tasks of this class run.
    explicit CollectionOpener(OrgFreedesktopSecretServiceInterface& service);

    /// True when the collection is open afterwards, whether the user was asked or not.
    [[nodiscard]] Task<bool> open();

private:
    [[nodiscard]] Task<bool> unlock(QDBusObjectPath collection);
    [[nodiscard]] Task<bool> create();
    [[nodiscard]] Task<bool> prompt(QDBusObjectPath path);

    OrgFreedesktopSecretServiceInterface& service;
};

} // namespace quillo
