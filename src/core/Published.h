#pragma once

#include "core/Signal.h"

#include <concepts>
#include <functional>
#include <utility>

namespace quillo {

/// An object whose changes others follow. Each change is announced before it happens: an observer that reads
/// inside the announcement still sees the old value.
class ObservableObject {
public:
    ObservableObject() = default;
    ObservableObject(const ObservableObject&) = delete;
    ObservableObject& operator=(const ObservableObject&) = delete;

    Signal<> objectWillChange;

protected:
    ~ObservableObject() = default;
};

/// A property of an `ObservableObject` that announces each assignment, equal or not, before it stores the
/// value: first to the property's own observers, who are given the new value, then as the owner's
/// `objectWillChange`.
template <typename T>
class Published {
public:
    /// Whether an observer is called again for a value equal to the last one it knows of (the one that holds
    /// when it registers included).
    enum class Repeats { deliver, suppress };

    /// Called after each assignment, when the new value is in place; not for the initial value.
    using DidSet = std::function<void(const T&)>;

    Published(ObservableObject& object, T initial, DidSet afterwards = {})
        : owner(object), value(std::move(initial)), didSet(std::move(afterwards)) {}
    Published(const Published&) = delete;

    Published& operator=(const Published&) = delete;
    Published& operator=(T next) {
        set(std::move(next));
        return *this;
    }

    [[nodiscard]] const T& get() const noexcept { return value; }
    operator const T&() const noexcept {
        return value;
    } // NOLINT(google-explicit-constructor): reads like a member
    [[nodiscard]] const T& operator*() const noexcept { return value; }
    [[nodiscard]] const T* operator->() const noexcept { return &value; }

    void set(T next) {
        willChange.emit(next);
        owner.objectWillChange.emit();
        value = std::move(next);
        if (didSet) {
            didSet(value);
        }
    }

    [[nodiscard]] Observation observe(Repeats repeats, std::function<void(const T&)> observer) {
        if constexpr (std::equality_comparable<T>) {
            if (repeats == Repeats::suppress) {
                return willChange.observe(
                    [last = value, observer = std::move(observer)](const T& next) mutable {
                        if (!(next == last)) {
                            last = next;
                            observer(next);
                        }
                    });
            }
        }
        return willChange.observe(std::move(observer));
    }

private:
    ObservableObject& owner;
    Signal<const T&> willChange;
    T value;
    DidSet didSet;
};

} // namespace quillo
