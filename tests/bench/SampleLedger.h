#pragma once

#include "model/Timeline.h"

namespace quillo::bench {

/// How many descriptions a ledger has: as a person's does, a few hundred that come again and again; or one of
/// its own for every line, the most that searching can be asked for.
enum class Descriptions { few, allDifferent };

/// A ledger of `lines` lines over two years, newest first, the same at every call. Equal texts are shared, as
/// in a decoded ledger. Every description holds "Corner", every tenth "Café".
[[nodiscard]] Timeline sampleLedger(int lines, Descriptions descriptions);

} // namespace quillo::bench
