#pragma once

#include <libsecret/secret.h>

namespace quillo {

/// In a sandbox libsecret keeps a file whose key it asks the secret portal for, once in a process. Asks in
/// its place, and waits for the answer, in which the user may have a part. False with an error when there is
/// none.
///
/// libsecret 0.20 begins to listen for the answer after it has asked. One that comes quicker than that it
/// misses, and waits for ever; so it is made to ask again then.
[[nodiscard]] bool openSecretPortal(const SecretSchema& schema, GHashTable* attributes, GError** error);

} // namespace quillo
