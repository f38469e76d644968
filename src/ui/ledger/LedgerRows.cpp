#include "ui/ledger/LedgerRows.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>
#include <string>
#include <string_view>
#include <unordered_map>

namespace quillo {

namespace {

/// No byte of UTF-8, so no search runs across it.
constexpr char separator = '\xff';

/// The form in which texts are compared: lower case by Unicode's own rules, whatever the user's locale, and
/// composed (NFC), so that an accent typed in one form finds the other.
void appendFolded(std::string& folded, std::string_view utf8) {
    if (std::ranges::all_of(utf8, [](char byte) { return static_cast<signed char>(byte) >= 0; })) {
        for (const char byte : utf8) {
            folded += byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
        }
        return;
    }
    UErrorCode status = U_ZERO_ERROR;
    std::string lower;
    icu::StringByteSink<std::string> lowerSink(&lower);
    icu::CaseMap::utf8ToLower("", 0, {utf8.data(), static_cast<int32_t>(utf8.size())}, lowerSink, nullptr,
                              status);
    icu::StringByteSink<std::string> foldedSink(&folded);
    const auto* composed = icu::Normalizer2::getNFCInstance(status);
    composed->normalizeUTF8(0, lower, foldedSink, nullptr, status);
    if (U_FAILURE(status) != 0) {
        folded += utf8;
    }
}

std::string_view bytesOf(const Text& text) {
    const auto utf8 = text.utf8();
    return {utf8.data(), static_cast<std::size_t>(utf8.size())};
}

/// Sorts like the number, as an unsigned integer: of IEEE 754's two zeros only one is left, negative numbers
/// are turned round.
std::uint64_t sortKey(double number) {
    const auto bits = std::bit_cast<std::uint64_t>(number + 0.0);
    constexpr auto signBit = std::uint64_t{1} << 63U;
    return (bits & signBit) != 0 ? ~bits : bits | signBit;
}

/// The rank of each line's date among the distinct dates.
std::vector<std::uint64_t> dateRanks(const std::vector<Transaction>& lines) {
    // Lines of one day share their text, so the distinct ones are few and found by their address.
    std::unordered_map<const QChar*, std::uint32_t> numbers;
    std::vector<const QString*> dates;
    std::vector<std::uint32_t> dateOfLine;
    dateOfLine.reserve(lines.size());
    for (const auto& line : lines) {
        const auto [entry, isNew] =
            numbers.try_emplace(line.date.constData(), static_cast<std::uint32_t>(dates.size()));
        if (isNew) {
            dates.push_back(&line.date);
        }
        dateOfLine.push_back(entry->second);
    }
    std::vector<std::uint32_t> ascending(dates.size());
    std::iota(ascending.begin(), ascending.end(), 0U);
    std::ranges::sort(ascending, [&](auto left, auto right) { return *dates[left] < *dates[right]; });
    std::vector<std::uint64_t> ranks(dates.size());
    std::uint64_t rank = 0;
    for (std::size_t place = 0; place < ascending.size(); ++place) {
        if (place > 0 && *dates[ascending[place - 1]] != *dates[ascending[place]]) {
            ++rank;
        }
        ranks[ascending[place]] = rank;
    }
    std::vector<std::uint64_t> result;
    result.reserve(lines.size());
    for (const auto date : dateOfLine) {
        result.push_back(ranks[date]);
    }
    return result;
}

std::vector<std::uint64_t> sortKeys(const std::vector<Transaction>& lines, LedgerColumn column) {
    if (column == LedgerColumn::date) {
        return dateRanks(lines);
    }
    const auto member = column == LedgerColumn::amount ? &Transaction::amount : &Transaction::runningBalance;
    std::vector<std::uint64_t> keys;
    keys.reserve(lines.size());
    for (const auto& line : lines) {
        keys.push_back(sortKey(line.*member));
    }
    return keys;
}

} // namespace

void LedgerRows::setLedger(const Timeline* next) {
    ledger = next;
    prepareLabels();
    sort();
    filter();
}

void LedgerRows::setSearch(const QString& text) {
    const auto isBlank = [](QChar character) {
        return character == u'\t' || character.category() == QChar::Separator_Space;
    };
    QStringView trimmed(text);
    while (!trimmed.isEmpty() && isBlank(trimmed.front())) {
        trimmed = trimmed.mid(1);
    }
    while (!trimmed.isEmpty() && isBlank(trimmed.back())) {
        trimmed.chop(1);
    }
    std::string folded;
    appendFolded(folded, trimmed.toUtf8().toStdString());
    query = QByteArray::fromStdString(folded);
    filter();
}

void LedgerRows::setSortOrder(LedgerSortOrder next) {
    order = next;
    sort();
    filter();
}

void LedgerRows::prepareLabels() {
    labelOfLine.clear();
    labelStarts.clear();
    haystack.clear();
    if (!ledger) {
        return;
    }
    // Texts of one ledger are shared, so a label is known by the addresses of its two texts.
    struct Label {
        const char* merchant;
        const char* name;
        bool operator==(const Label&) const = default;
    };
    struct LabelHash {
        std::size_t operator()(const Label& label) const noexcept {
            return std::hash<const char*>()(label.merchant) * 31 + std::hash<const char*>()(label.name);
        }
    };
    std::unordered_map<Label, std::uint32_t, LabelHash> known;
    std::string text;
    labelOfLine.reserve(ledger->transactions.size());
    for (const auto& line : ledger->transactions) {
        const auto [entry, isNew] =
            known.try_emplace(Label{bytesOf(line.merchant).data(), bytesOf(line.name).data()},
                              static_cast<std::uint32_t>(labelStarts.size()));
        if (isNew) {
            labelStarts.push_back(static_cast<std::uint32_t>(text.size()));
            appendFolded(text, line.display().toUtf8().toStdString());
            text += separator;
            if (line.name && line.merchant) {
                appendFolded(text, bytesOf(line.name));
                text += separator;
            }
        }
        labelOfLine.push_back(entry->second);
    }
    haystack = QByteArray::fromStdString(text);
}

void LedgerRows::sort() {
    sorted.clear();
    if (!ledger) {
        return;
    }
    struct Keyed {
        std::uint64_t key;
        std::uint32_t line;
    };
    const auto keys = sortKeys(ledger->transactions, order.column);
    const auto flip = order.direction == Qt::DescendingOrder ? ~std::uint64_t{0} : std::uint64_t{0};
    std::vector<Keyed> keyed;
    keyed.reserve(keys.size());
    for (const auto key : keys) {
        keyed.push_back({key ^ flip, static_cast<std::uint32_t>(keyed.size())});
    }
    std::ranges::sort(keyed, [](const Keyed& left, const Keyed& right) {
        return left.key != right.key ? left.key < right.key : left.line < right.line;
    });
    sorted.reserve(keyed.size());
    for (const auto& entry : keyed) {
        sorted.push_back(entry.line);
    }
}

void LedgerRows::filter() {
    if (query.isEmpty()) {
        shown = sorted;
        return;
    }
    std::vector<char> passes(labelStarts.size(), 0);
    const char* const begin = haystack.constData();
    const char* const end = begin + haystack.size();
    const char* at = begin;
    while (const void* found = memmem(at, static_cast<std::size_t>(end - at), query.constData(),
                                      static_cast<std::size_t>(query.size()))) {
        const auto offset = static_cast<std::uint32_t>(static_cast<const char*>(found) - begin);
        const auto next = std::ranges::upper_bound(labelStarts, offset);
        passes[static_cast<std::size_t>(next - labelStarts.begin()) - 1] = 1;
        if (next == labelStarts.end()) {
            break;
        }
        at = begin + *next;
    }
    shown.clear();
    for (const auto line : sorted) {
        if (passes[labelOfLine[line]] != 0) {
            shown.push_back(line);
        }
    }
}

} // namespace quillo
