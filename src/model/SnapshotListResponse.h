#pragma once

#include "model/SnapshotSummary.h"

#include <vector>

namespace quillo {

/// The days that have a snapshot, in the backend's order.
struct SnapshotListResponse {
    std::vector<SnapshotSummary> snapshots = {};
};

} // namespace quillo
