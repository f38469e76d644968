#pragma once

#include "core/Task.h"

class OrgFreedesktopSecretServiceInterface;

namespace quillo {

/// Has the Secret Service ask the user to unlock the default collection, or to make one where there is none.
/// True when the collection is open afterwards, whether the user was asked or not.
///
/// Nothing blocks, and the prompt may stay unanswered for hours. Dropping the task forgets the answer but
/// never takes the prompt back, which gnome-keyring 42 does not survive. `service` is the caller's, who keeps
/// it for as long as the task runs.
[[nodiscard]] Task<bool> openDefaultCollection(OrgFreedesktopSecretServiceInterface& service);

} // namespace quillo
