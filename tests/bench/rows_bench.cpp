#include "SampleLedger.h"
#include "Samples.h"
#include "ui/ledger/LedgerRows.h"

#include <map>
#include <string>

// Searching and sorting the index of the ledger's lines, each beside the plainest way to do it on the same
// data: one search over the same folded bytes, one std::sort of the same keys. What the plain ways start from
// is prepared outside the measurement.

namespace {

using namespace quillo;
using namespace quillo::bench;
using namespace Qt::Literals::StringLiterals;

const Timeline& ledger(benchmark::State& state) {
    static std::map<std::pair<std::int64_t, std::int64_t>, Timeline> made;
    const auto key = std::pair(state.range(0), state.range(1));
    auto entry = made.find(key);
    if (entry == made.end()) {
        made.clear(); // a million lines are large
        entry = made.emplace(key,
                             sampleLedger(static_cast<int>(key.first), static_cast<Descriptions>(key.second)))
                    .first;
    }
    return entry->second;
}

/// As typed: what matches everything first, then less and less, then nothing.
const std::vector<QString> keystrokes = {u"c"_s,        u"co"_s,   u"corner"_s,     u"corner "_s,
                                         u"corner h"_s, u"café"_s, u"hardware 7"_s, u"no such thing"_s,
                                         u"e"_s};

void filterKeystroke(benchmark::State& state) {
    LedgerRows rows;
    rows.setLedger(&ledger(state));
    Samples samples;
    std::size_t next = 0;
    for (auto round : state) {
        samples.time(state, [&] { rows.setSearch(keystrokes[next++ % keystrokes.size()]); });
        benchmark::DoNotOptimize(rows.rows().data());
    }
    samples.report(state);
}

/// All descriptions, folded, one after the other; and where each begins.
struct Haystack {
    explicit Haystack(const Timeline& ledger) {
        for (const auto& line : ledger.transactions) {
            starts.push_back(bytes.size());
            bytes +=
                line.display().toLower().toStdString() + '\n' + (*line.name).toLower().toStdString() + '\n';
        }
        starts.push_back(bytes.size());
    }
    std::string bytes;
    std::vector<std::size_t> starts;
};

/// The lines that hold the text, in their order.
std::vector<std::uint32_t> plainScan(const Haystack& haystack, const std::string& query) {
    std::vector<std::uint32_t> found;
    const char* const begin = haystack.bytes.data();
    const char* at = begin;
    const char* const end = begin + haystack.bytes.size();
    std::size_t line = 0;
    while (const void* hit = memmem(at, static_cast<std::size_t>(end - at), query.data(), query.size())) {
        const auto offset = static_cast<std::size_t>(static_cast<const char*>(hit) - begin);
        while (haystack.starts[line + 1] <= offset) {
            ++line;
        }
        found.push_back(static_cast<std::uint32_t>(line));
        at = begin + haystack.starts[++line];
    }
    return found;
}

void plainFilterKeystroke(benchmark::State& state) {
    const Haystack haystack(ledger(state));
    Samples samples;
    std::size_t next = 0;
    for (auto round : state) {
        const auto query = keystrokes[next++ % keystrokes.size()].toStdString();
        samples.time(state, [&] { benchmark::DoNotOptimize(plainScan(haystack, query)); });
    }
    samples.report(state);
}

/// A click on the header of each column that can be sorted, and a second one for the other direction.
constexpr LedgerSortOrder clicks[] = {{LedgerColumn::amount, Qt::DescendingOrder},
                                      {LedgerColumn::amount, Qt::AscendingOrder},
                                      {LedgerColumn::runningBalance, Qt::DescendingOrder},
                                      {LedgerColumn::date, Qt::DescendingOrder},
                                      {LedgerColumn::date, Qt::AscendingOrder}};

void columnSort(benchmark::State& state) {
    LedgerRows rows;
    rows.setLedger(&ledger(state));
    Samples samples;
    std::size_t next = 0;
    for (auto round : state) {
        samples.time(state, [&] { rows.setSortOrder(clicks[next++ % std::size(clicks)]); });
        benchmark::DoNotOptimize(rows.rows().data());
    }
    samples.report(state);
}

template <typename Key>
std::vector<std::pair<Key, std::uint32_t>> keyed(const Timeline& ledger, Key Transaction::*member) {
    std::vector<std::pair<Key, std::uint32_t>> keys;
    for (const auto& line : ledger.transactions) {
        keys.emplace_back(line.*member, static_cast<std::uint32_t>(keys.size()));
    }
    return keys;
}

/// The keys are copied outside the measurement. Dates as the numbers that they are: comparing texts would be
/// many times slower.
void plainColumnSort(benchmark::State& state) {
    const auto& lines = ledger(state);
    auto dates = keyed(lines, &Transaction::amount);
    for (auto& [key, line] : dates) {
        key = lines.transactions[line].date.mid(0, 4).toDouble() * 10'000 +
              lines.transactions[line].date.mid(5, 2).toDouble() * 100 +
              lines.transactions[line].date.mid(8, 2).toDouble();
    }
    const auto amounts = keyed(lines, &Transaction::amount);
    const auto balances = keyed(lines, &Transaction::runningBalance);
    Samples samples;
    std::size_t next = 0;
    for (auto round : state) {
        const auto& [column, direction] = clicks[next++ % std::size(clicks)];
        auto keys = column == LedgerColumn::amount ? amounts
                    : column == LedgerColumn::date ? dates
                                                   : balances;
        samples.time(state, [&, ascending = direction == Qt::AscendingOrder] {
            std::sort(keys.begin(), keys.end(), [ascending](const auto& left, const auto& right) {
                return left.first != right.first ? (left.first < right.first) == ascending
                                                 : left.second < right.second;
            });
        });
        benchmark::DoNotOptimize(keys.data());
    }
    samples.report(state);
}

void takeUpLedger(benchmark::State& state) {
    const auto& lines = ledger(state);
    Samples samples;
    for (auto round : state) {
        LedgerRows rows;
        samples.time(state, [&] { rows.setLedger(&lines); });
        benchmark::DoNotOptimize(rows.rows().data());
    }
    samples.report(state);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    for (const auto descriptions : {Descriptions::few, Descriptions::allDifferent}) {
        for (const std::int64_t lines : {1'000, 10'000, 100'000, 1'000'000}) {
            benchmark->Args({lines, static_cast<std::int64_t>(descriptions)});
        }
    }
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(45);
}

BENCHMARK(filterKeystroke)->Apply(sizes);
BENCHMARK(plainFilterKeystroke)->Apply(sizes);
BENCHMARK(columnSort)->Apply(sizes);
BENCHMARK(plainColumnSort)->Apply(sizes);
BENCHMARK(takeUpLedger)->Apply(sizes);

} // namespace
