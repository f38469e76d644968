#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace quillo {

/// Keeps one observer registered for as long as it or a copy lives. An empty handle keeps nothing.
using Observation = std::shared_ptr<void>;

/// Calls its observers one after the other, in the order of their registration.
///
/// During a call, observers may come and go and the signal itself may be destroyed: one that has gone is not
/// called any more, one that has come is called from the next emission on. For one thread.
template <typename... Arguments>
class Signal {
public:
    using Observer = std::function<void(Arguments...)>;

    [[nodiscard]] Observation observe(Observer observer) {
        auto registration = std::make_shared<Observer>(std::move(observer));
        std::erase_if(observers, [](const auto& known) { return known.expired(); });
        observers.push_back(registration);
        return registration;
    }

    void emit(Arguments... arguments) const {
        const auto known = observers;
        for (const auto& weak : known) {
            if (const auto observer = weak.lock()) {
                (*observer)(arguments...);
            }
        }
    }

private:
    std::vector<std::weak_ptr<Observer>> observers;
};

} // namespace quillo
