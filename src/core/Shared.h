#pragma once

#include <memory>
#include <utility>

namespace quillo {

/// A value that copies share and nobody changes: copying costs nothing however large it is. Never without a
/// value; by default it is `T()`.
template <typename T>
class Shared {
public:
    Shared() : value(std::make_shared<const T>()) {}
    Shared(T initial) : value(std::make_shared<const T>(std::move(initial))) {}

    [[nodiscard]] const T& operator*() const noexcept { return *value; }
    [[nodiscard]] const T* operator->() const noexcept { return value.get(); }

    /// Whether both hold the same; at once for copies of each other.
    [[nodiscard]] friend bool operator==(const Shared& left, const Shared& right) {
        return left.value == right.value || *left == *right;
    }

private:
    std::shared_ptr<const T> value;
};

} // namespace quillo
