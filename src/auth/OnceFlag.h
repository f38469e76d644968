#pragma once

#include <mutex>
#include <utility>

namespace quillo {

/// Lets exactly one of several racing handlers through.
class OnceFlag {
public:
    /// True for the first caller only, whatever its thread.
    [[nodiscard]] bool fire() {
        const std::lock_guard guard(lock);
        return !std::exchange(fired, true);
    }

private:
    std::mutex lock;
    bool fired = false;
};

} // namespace quillo
