#pragma once

#include <cstdlib>

namespace quillo::test {

/// Ends the run, which libFuzzer reports with the input, unless what has to hold does.
inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

} // namespace quillo::test
