#pragma once

#include <QHashFunctions>

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace quillo {

/// Gives equal texts one shared value while a document is decoded. Lookups cost a hash and usually one
/// comparison; the hash is seeded per process, so that no body can be written to collide.
///
/// The pool refers to the keys it was given: they have to outlive it.
template <typename Value>
class TextPool {
public:
    /// The value of `key`, which `make(key)` makes the first time.
    template <typename Make>
    [[nodiscard]] const Value& value(std::string_view key, Make make) {
        if ((used + 1) * 4 > slots.size() * 3) {
            grow();
        }
        Slot& slot = find(key);
        if (!slot.taken) {
            slot = Slot{key, make(key), true};
            ++used;
        }
        return slot.value;
    }

private:
    struct Slot {
        std::string_view key;
        Value value;
        bool taken = false;
    };

    [[nodiscard]] Slot& find(std::string_view key) {
        const std::size_t mask = slots.size() - 1;
        std::size_t place = qHashBits(key.data(), key.size(), seed) & mask;
        while (slots[place].taken && slots[place].key != key) {
            place = (place + 1) & mask;
        }
        return slots[place];
    }

    void grow() {
        constexpr std::size_t smallest = 64;
        std::vector<Slot> old(slots.empty() ? smallest : slots.size() * 2);
        old.swap(slots);
        for (Slot& slot : old) {
            if (slot.taken) {
                find(slot.key) = std::move(slot);
            }
        }
    }

    std::vector<Slot> slots; // its size is a power of two, or nothing yet
    std::size_t used = 0;
    std::size_t seed = QHashSeed::globalSeed();
};

} // namespace quillo
