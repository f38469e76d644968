#pragma once

#include <QByteArray>

namespace quillo::bench {

/// The body of a ledger of `lines` lines, about 267 bytes each, the same at every call: ids that never
/// repeat; days, merchants, bank names and masks that do.
[[nodiscard]] QByteArray ledgerBody(int lines);

} // namespace quillo::bench
