#pragma once

#include "core/Awaiters.h"
#include "core/Task.h"

#include <memory>
#include <optional>
#include <utility>

namespace quillo {

/// One result that callbacks give to one task. Where the task is dropped before, nobody is told; where the
/// promise is, the task waits for ever.
template <typename T>
class Promise {
public:
    /// What the task gets. To be called once, and before `fulfil`.
    [[nodiscard]] Task<T> task() {
        auto slot = std::make_shared<Slot>();
        waiting = slot;
        return take(std::move(slot));
    }

    /// Calls after the first do nothing.
    void fulfil(T value) const {
        if (const auto slot = waiting.lock(); slot && !slot->value) {
            slot->value = std::move(value);
            slot->fulfilled.fire();
        }
    }

private:
    struct Slot {
        OneShotEvent fulfilled;
        std::optional<T> value;
    };

    static Task<T> take(std::shared_ptr<Slot> slot) {
        auto& fulfilled = slot->fulfilled;
        co_await fulfilled;
        co_return *std::move(slot->value);
    }

    std::weak_ptr<Slot> waiting;
};

} // namespace quillo
