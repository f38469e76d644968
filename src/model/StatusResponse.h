#pragma once

#include "model/ItemStatus.h"

#include <vector>

namespace quillo {

/// The state of every bank link, in the backend's order.
struct StatusResponse {
    std::vector<ItemStatus> items = {};
};

} // namespace quillo
