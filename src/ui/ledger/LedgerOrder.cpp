#include "ui/ledger/LedgerOrder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <numeric>
#include <unordered_map>

namespace quillo {

namespace {

struct Keyed {
    std::uint64_t key;
    std::uint32_t line;
};

/// Sorts like the number, as an unsigned integer: of IEEE 754's two zeros only one is left, negative numbers
/// are turned round.
std::uint64_t sortKey(double number) {
    const auto bits = std::bit_cast<std::uint64_t>(number + 0.0);
    constexpr auto signBit = std::uint64_t{1} << 63U;
    return (bits & signBit) != 0 ? ~bits : bits | signBit;
}

/// Of each distinct date, its rank among them.
std::vector<std::uint64_t> ranks(const std::vector<const QString*>& dates) {
    std::vector<std::uint32_t> ascending(dates.size());
    std::iota(ascending.begin(), ascending.end(), 0U);
    std::ranges::sort(ascending, [&](auto left, auto right) { return *dates[left] < *dates[right]; });
    std::vector<std::uint64_t> result(dates.size());
    std::uint64_t rank = 0;
    for (std::size_t place = 0; place < ascending.size(); ++place) {
        if (place > 0 && *dates[ascending[place - 1]] != *dates[ascending[place]]) {
            ++rank;
        }
        result[ascending[place]] = rank;
    }
    return result;
}

/// The rank of each line's date.
std::vector<Keyed> keyedByDate(const std::vector<Transaction>& lines) {
    // Lines of one day share their text and mostly follow one another, so the distinct ones are few, and
    // found by their address.
    std::unordered_map<const QChar*, std::uint32_t> numbers;
    std::vector<const QString*> dates;
    std::vector<Keyed> keyed;
    keyed.reserve(lines.size());
    const QChar* last = nullptr;
    std::uint32_t number = 0;
    for (const auto& line : lines) {
        if (dates.empty() || line.date.constData() != last) {
            last = line.date.constData();
            const auto [entry, isNew] = numbers.try_emplace(last, static_cast<std::uint32_t>(dates.size()));
            if (isNew) {
                dates.push_back(&line.date);
            }
            number = entry->second;
        }
        keyed.push_back({number, static_cast<std::uint32_t>(keyed.size())});
    }
    const auto rankOf = ranks(dates);
    for (auto& entry : keyed) {
        entry.key = rankOf[entry.key];
    }
    return keyed;
}

std::vector<Keyed> keyedByNumber(const std::vector<Transaction>& lines, double Transaction::*member) {
    std::vector<Keyed> keyed;
    keyed.reserve(lines.size());
    for (const auto& line : lines) {
        keyed.push_back({sortKey(line.*member), static_cast<std::uint32_t>(keyed.size())});
    }
    return keyed;
}

std::vector<Keyed> keyedBy(const std::vector<Transaction>& lines, LedgerColumn column) {
    if (column == LedgerColumn::date) {
        return keyedByDate(lines);
    }
    return keyedByNumber(lines, column == LedgerColumn::amount ? &Transaction::amount
                                                               : &Transaction::runningBalance);
}

/// Radix sort from the least digit: equal keys stay in their order. Digits in which no two keys differ, most
/// of a date's, cost nothing.
void sortByKey(std::vector<Keyed>& keyed) {
    constexpr unsigned digitBits = 11;
    constexpr std::size_t digitValues = 1U << digitBits;
    constexpr unsigned keyBits = 64;
    constexpr unsigned digits = (keyBits + digitBits - 1) / digitBits;
    const auto digitOf = [](std::uint64_t key, unsigned digit) {
        return static_cast<std::size_t>(key >> (digit * digitBits)) & (digitValues - 1);
    };
    std::array<std::array<std::uint32_t, digitValues>, digits> counts{};
    for (const auto& entry : keyed) {
        for (unsigned digit = 0; digit < digits; ++digit) {
            ++counts[digit][digitOf(entry.key, digit)];
        }
    }
    std::vector<Keyed> other(keyed.size());
    for (unsigned digit = 0; digit < digits; ++digit) {
        auto& places = counts[digit];
        if (keyed.empty() || places[digitOf(keyed.front().key, digit)] == keyed.size()) {
            continue;
        }
        std::exclusive_scan(places.begin(), places.end(), places.begin(), 0U);
        for (const auto& entry : keyed) {
            other[places[digitOf(entry.key, digit)]++] = entry;
        }
        keyed.swap(other);
    }
}

} // namespace

std::vector<std::uint32_t> sortedLines(const std::vector<Transaction>& lines, LedgerSortOrder order) {
    auto keyed = keyedBy(lines, order.column);
    if (order.direction == Qt::DescendingOrder) {
        for (auto& entry : keyed) {
            entry.key = ~entry.key;
        }
    }
    // A short list is sorted before the digits would be counted.
    constexpr std::size_t shortList = 256;
    if (keyed.size() < shortList) {
        std::ranges::sort(keyed, [](const Keyed& left, const Keyed& right) {
            return left.key != right.key ? left.key < right.key : left.line < right.line;
        });
    } else {
        sortByKey(keyed);
    }
    std::vector<std::uint32_t> sorted;
    sorted.reserve(keyed.size());
    for (const auto& entry : keyed) {
        sorted.push_back(entry.line);
    }
    return sorted;
}

} // namespace quillo
