#pragma once

#include <QHashFunctions>

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace quillo {

/// Gives equal texts one shared value while a document is decoded. A text that equals the one before it costs
/// a comparison, any other a hash and usually a comparison; the hash is seeded per process, so that no body
/// can be written to collide.
///
/// The pool refers to the keys it was given: they have to outlive it.
template <typename Value>
class TextPool {
public:
    /// The value of `key`, which `make(key)` makes the first time.
    template <typename Make>
    [[nodiscard]] const Value& value(std::string_view key, Make make) {
        if (used != 0 && table[latest].key == key) {
            return table[latest].value;
        }
        if ((used + 1) * 4 > table.size() * 3) {
            grow();
        }
        const std::size_t hash = XXH3_64bits_withSeed(key.data(), key.size(), seed);
        latest = find(key, hash);
        Slot& slot = table[latest];
        if (!slot.taken) {
            slot = Slot{key, hash, make(key), true};
            ++used;
        }
        return slot.value;
    }

private:
    struct Slot {
        std::string_view key;
        std::size_t hash = 0;
        Value value;
        bool taken = false;
    };

    [[nodiscard]] std::size_t find(std::string_view key, std::size_t hash) const noexcept {
        const std::size_t mask = table.size() - 1;
        std::size_t place = hash & mask;
        while (table[place].taken && (table[place].hash != hash || table[place].key != key)) {
            place = (place + 1) & mask;
        }
        return place;
    }

    void grow() {
        constexpr std::size_t smallest = 256;
        std::vector<Slot> old(table.empty() ? smallest : table.size() * 4);
        old.swap(table);
        for (Slot& slot : old) {
            if (slot.taken) {
                table[find(slot.key, slot.hash)] = std::move(slot);
            }
        }
    }

    std::vector<Slot> table; // its size is a power of two, or nothing yet
    std::size_t used = 0;
    std::size_t latest = 0;
    std::size_t seed = QHashSeed::globalSeed();
};

} // namespace quillo
