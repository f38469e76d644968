#include "ui/ledger/PreparedLedger.h"

#include <QRegularExpression>

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <string_view>
#include <utility>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Ends a description and a name: no byte of UTF-8, so no search runs across it.
constexpr char separator = '\xff';

std::string_view bytesOf(const Text& text) {
    const auto utf8 = text.utf8();
    return {utf8.data(), static_cast<std::size_t>(utf8.size())};
}

bool isAscii(std::string_view utf8) {
    return std::ranges::all_of(utf8, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

/// Appends the form in which texts are compared: lower case by Unicode's own rules, whatever the user's
/// locale, and composed (NFC), so that an accent typed in one form finds the other. `utf8` has to be valid.
void appendFolded(std::string& folded, std::string_view utf8) {
    if (isAscii(utf8)) {
        std::ranges::transform(utf8, std::back_inserter(folded), [](char byte) {
            return static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte);
        });
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

/// What is searched for when the user has typed `text`: folded, without white space (but with line breaks) at
/// its ends. Empty when nothing is.
std::string searchedFor(const QString& text) {
    static const QRegularExpression blankEnds(u"^[\\t\\p{Zs}]+|[\\t\\p{Zs}]+\\z"_s);
    std::string query;
    appendFolded(query, QString(text).remove(blankEnds).toStdString());
    return query;
}

/// Calls `use` with what tells the column's lines apart.
auto withKey(LedgerColumn column, auto use) {
    if (column == LedgerColumn::amount) {
        return use(&Transaction::amount);
    }
    if (column == LedgerColumn::runningBalance) {
        return use(&Transaction::runningBalance);
    }
    return use(&Transaction::date);
}

/// All lines in ascending order, and where among them each group of equal ones begins.
struct Sorted {
    std::vector<LinePosition> lines;
    std::vector<bool> begins;
};

Sorted ascending(const std::vector<Transaction>& lines, LedgerColumn column) {
    Sorted sorted{.lines = std::vector<LinePosition>(lines.size()),
                  .begins = std::vector<bool>(lines.size())};
    std::iota(sorted.lines.begin(), sorted.lines.end(), LinePosition{0});
    withKey(column, [&](auto key) {
        const auto keyOf = [&lines, key ](LinePosition line) -> const auto& {
            return lines[line].*key;
        };
        std::ranges::stable_sort(sorted.lines, {}, keyOf);
        for (std::size_t place = 0; place < lines.size(); ++place) {
            sorted.begins[place] = place == 0 || keyOf(sorted.lines[place - 1]) != keyOf(sorted.lines[place]);
        }
    });
    return sorted;
}

/// Turned round, with equal lines still in their order.
std::vector<LinePosition> turnedRound(const Sorted& sorted) {
    std::vector<LinePosition> turned;
    turned.reserve(sorted.lines.size());
    for (auto end = sorted.lines.size(); end > 0;) {
        auto begin = end - 1;
        while (!sorted.begins[begin]) {
            --begin;
        }
        turned.insert(turned.end(), sorted.lines.begin() + static_cast<std::ptrdiff_t>(begin),
                      sorted.lines.begin() + static_cast<std::ptrdiff_t>(end));
        end = begin;
    }
    return turned;
}

/// Each line's identity and position, in the order of the identities.
std::vector<std::pair<std::size_t, LinePosition>> byIdentity(const std::vector<Transaction>& lines) {
    std::vector<std::pair<std::size_t, LinePosition>> known;
    known.reserve(lines.size());
    for (const auto& line : lines) {
        const auto position = static_cast<LinePosition>(known.size());
        // As `Transaction::id` tells lines apart, without making its text.
        const auto identity =
            line.txnId ? qHash(line.txnId)
                       : qHashMulti(0, line.date, line.merchant ? line.merchant : line.name, line.amount);
        known.emplace_back(identity, position);
    }
    std::ranges::sort(known);
    return known;
}

} // namespace

/// What is made of the lines.
struct PreparedLedger::Index {
    explicit Index(const std::vector<Transaction>& lines);

    void addText(std::string_view utf8) {
        appendFolded(haystack, utf8);
        haystack += separator;
    }

    /// The searchable text of every line, one after the other, and where each begins.
    std::string haystack;
    std::vector<std::size_t> starts;
    std::array<Sorted, 4> sorted; ///< ascending, by column; none for the description
};

PreparedLedger::Index::Index(const std::vector<Transaction>& lines) {
    starts.reserve(lines.size());
    for (const auto& line : lines) {
        starts.push_back(haystack.size());
        if (line.merchant) {
            addText(bytesOf(line.merchant));
        }
        if (line.name && !(line.name == line.merchant)) {
            addText(bytesOf(line.name));
        }
        if (!line.merchant && !line.name) {
            addText(line.display().toStdString());
        }
    }
    for (const auto column : {LedgerColumn::date, LedgerColumn::amount, LedgerColumn::runningBalance}) {
        sorted[static_cast<std::size_t>(column)] = ascending(lines, column);
    }
}

PreparedLedger::PreparedLedger(Ledger ledger)
    : source(std::move(ledger)), index(std::make_shared<const Index>(lines())) {}

PreparedLedger::PreparedLedger(Ledger ledger, const PreparedLedger& same)
    : source(std::move(ledger)), index(same.index) {}

const std::vector<Transaction>& PreparedLedger::lines() const {
    static const std::vector<Transaction> none;
    return source ? source->transactions : none;
}

std::vector<LinePosition> PreparedLedger::rows(const QString& search, LedgerSortOrder order) const {
    const auto& sorted = index->sorted[static_cast<std::size_t>(order.column)];
    auto shown = order.direction == Qt::AscendingOrder ? sorted.lines : turnedRound(sorted);
    if (const auto query = searchedFor(search); !query.empty()) {
        std::erase_if(shown, [holds = holding(query)](LinePosition line) { return !holds[line]; });
    }
    return shown;
}

std::vector<bool> PreparedLedger::holding(const std::string& query) const {
    std::vector<bool> found(index->starts.size());
    const auto& starts = index->starts;
    const char* const begin = index->haystack.data();
    const char* const end = begin + index->haystack.size();
    std::size_t line = 0;
    const char* at = begin;
    while (const void* hit = memmem(at, static_cast<std::size_t>(end - at), query.data(), query.size())) {
        const auto offset = static_cast<std::size_t>(static_cast<const char*>(hit) - begin);
        while (line + 1 < starts.size() && starts[line + 1] <= offset) {
            ++line;
        }
        found[line] = true;
        if (++line == starts.size()) {
            break;
        }
        at = begin + starts[line];
    }
    return found;
}

std::vector<LinePosition> successors(const std::vector<Transaction>& before,
                                     const std::vector<Transaction>& after) {
    std::vector<LinePosition> next(before.size(), noLine);
    const auto known = byIdentity(before);
    const auto found = byIdentity(after);
    auto place = found.begin();
    for (const auto& [identity, position] : known) {
        place = std::lower_bound(place, found.end(), std::pair(identity, LinePosition{0}));
        if (place == found.end()) {
            break;
        }
        if (place->first == identity) {
            next[position] = place->second;
            ++place;
        }
    }
    return next;
}

LedgerRows LedgerRows::of(std::shared_ptr<const PreparedLedger> prepared, QString search,
                          LedgerSortOrder order) {
    LedgerRows rows{.prepared = std::move(prepared), .search = std::move(search), .order = order};
    rows.lines = rows.prepared->rows(rows.search, rows.order);
    rows.places.assign(rows.prepared->lines().size(), noLine);
    for (std::size_t row = 0; row < rows.lines.size(); ++row) {
        rows.places[rows.lines[row]] = static_cast<LinePosition>(row);
    }
    return rows;
}

} // namespace quillo
