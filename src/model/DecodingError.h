#pragma once

#include "core/LocalizedError.h"

namespace quillo {

/// A body that is not what was asked for. The text names the place, what was expected there and what was
/// found
/// (`transactions[3].pending: expected an integer, found a boolean`); it never quotes a value of the body, so
/// it can be shown and kept.
class DecodingError : public LocalizedError {
public:
    using LocalizedError::LocalizedError;
};

} // namespace quillo
