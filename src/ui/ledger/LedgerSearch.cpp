#include "ui/ledger/LedgerSearch.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

namespace quillo {

namespace {

/// No byte of UTF-8, so no search runs across it.
constexpr char separator = '\xff';

bool isAscii(std::string_view utf8) {
    unsigned char all = 0;
    for (const char byte : utf8) {
        all |= static_cast<unsigned char>(byte);
    }
    return all < 0x80;
}

/// The form in which texts are compared: lower case by Unicode's own rules, whatever the user's locale, and
/// composed (NFC), so that an accent typed in one form finds the other.
void appendFolded(std::string& folded, std::string_view utf8) {
    if (isAscii(utf8)) {
        const auto start = folded.size();
        folded += utf8;
        for (auto at = start; at < folded.size(); ++at) {
            const char byte = folded[at];
            folded[at] = static_cast<char>(byte + (byte >= 'A' && byte <= 'Z' ? 'a' - 'A' : 0));
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

/// What the line is called, and its name when that is something else.
void appendLabel(std::string& folded, const Transaction& line) {
    if (line.merchant) {
        appendFolded(folded, bytesOf(line.merchant));
        folded += separator;
        if (line.name) {
            appendFolded(folded, bytesOf(line.name));
            folded += separator;
        }
        return;
    }
    appendFolded(folded, line.display().toUtf8().toStdString());
    folded += separator;
}

/// Numbers labels as they come. Texts of one ledger are shared, so a label is known by the addresses of its
/// two texts; a table with open addressing, because a standard map would take most of the time.
class LabelNumbers {
public:
    LabelNumbers() : slots(slotCount) {}

    /// The label's number, and whether it is a new one. In a ledger of very many labels those of the later
    /// lines are taken for new ones each time: there, telling them apart would cost more than it saves.
    std::pair<std::uint32_t, bool> number(const Transaction& line) {
        const Label label{bytesOf(line.merchant).data(), bytesOf(line.name).data()};
        auto& slot = find(label);
        if (slot.number != none) {
            return {slot.number, false};
        }
        if (count < mostKnown) {
            slot = {label, count};
        }
        return {count++, true};
    }

private:
    struct Label {
        const char* merchant = nullptr;
        const char* name = nullptr;
        bool operator==(const Label&) const = default;
    };
    static constexpr auto none = UINT32_MAX;
    struct Slot {
        Label label;
        std::uint32_t number = none;
    };
    static constexpr std::uint32_t mostKnown = 8192;
    static constexpr std::size_t slotCount = std::size_t{4} * mostKnown;

    Slot& find(const Label& label) {
        // Addresses differ in their middle bits; a multiplication brings them to the top.
        constexpr std::uint64_t spread = 0x9e3779b97f4a7c15;
        constexpr int shift = 64 - std::countr_zero(slotCount);
        const auto mixed = (reinterpret_cast<std::uintptr_t>(label.merchant) * spread) ^
                           std::rotl(reinterpret_cast<std::uintptr_t>(label.name), 17);
        auto at = static_cast<std::size_t>((mixed * spread) >> shift);
        while (slots[at].number != none && !(slots[at].label == label)) {
            at = (at + 1) & (slotCount - 1);
        }
        return slots[at];
    }

    std::vector<Slot> slots;
    std::uint32_t count = 0;
};

/// The place of the last start that is not after `offset`, at or after `from`. Matches come in ascending
/// order and mostly close together, so the search begins there and takes longer and longer steps.
std::size_t labelAt(const std::vector<std::uint32_t>& starts, std::size_t from, std::size_t offset) {
    std::size_t step = 1;
    auto last = from;
    while (last + step < starts.size() && starts[last + step] <= offset) {
        last += step;
        step *= 2;
    }
    const auto begin = starts.begin() + static_cast<std::ptrdiff_t>(last);
    const auto end = starts.begin() + static_cast<std::ptrdiff_t>(std::min(last + step, starts.size()));
    return static_cast<std::size_t>(std::upper_bound(begin, end, offset) - starts.begin()) - 1;
}

} // namespace

void LedgerSearch::setLedger(const Timeline* ledger) {
    labelOfLine.clear();
    labelStarts.clear();
    haystack.clear();
    if (ledger) {
        LabelNumbers numbers;
        labelOfLine.reserve(ledger->transactions.size());
        for (const auto& line : ledger->transactions) {
            const auto [number, isNew] = numbers.number(line);
            if (isNew) {
                labelStarts.push_back(static_cast<std::uint32_t>(haystack.size()));
                appendLabel(haystack, line);
            }
            labelOfLine.push_back(number);
        }
    }
    search();
}

void LedgerSearch::setText(const QString& text) {
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
    query.clear();
    appendFolded(query, trimmed.toUtf8().toStdString());
    search();
}

void LedgerSearch::search() {
    found.assign(labelStarts.size(), 0);
    if (query.empty()) {
        return;
    }
    const char* const begin = haystack.data();
    const char* const end = begin + haystack.size();
    const char* at = begin;
    std::size_t label = 0;
    while (const void* hit = memmem(at, static_cast<std::size_t>(end - at), query.data(), query.size())) {
        label = labelAt(labelStarts, label, static_cast<std::size_t>(static_cast<const char*>(hit) - begin));
        found[label] = 1;
        if (++label == labelStarts.size()) {
            break;
        }
        at = begin + labelStarts[label];
    }
}

std::vector<std::uint32_t> LedgerSearch::passing(const std::vector<std::uint32_t>& lines) const {
    if (isEmpty()) {
        return lines;
    }
    // Written always and kept by the count, so that no branch has to be foretold.
    std::vector<std::uint32_t> passed(lines.size());
    std::size_t count = 0;
    for (const auto line : lines) {
        passed[count] = line;
        count += found[labelOfLine[line]];
    }
    passed.resize(count);
    return passed;
}

} // namespace quillo
