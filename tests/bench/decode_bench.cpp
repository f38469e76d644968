#include "LedgerBody.h"
#include "model/Decoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <malloc.h>
#include <optional>
#include <string>
#include <time.h>
#include <vector>

// Decoding a ledger as a refresh does it: a body that nobody else holds, and a parser made for it. Letting
// the result go is not counted. Times to compare are those of one run.

namespace {

using namespace quillo;
using namespace Qt::Literals::StringLiterals;

/// Bytes that the program holds from the allocator, its own overhead included.
[[nodiscard]] double allocatedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

/// What this thread has computed so far, the system's work for it included: a busy machine does not spoil it.
[[nodiscard]] double computedSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Times `decode(input)`, each round with an input of its own from `makeInput()`, and counts what the result
/// keeps for each line once the input is gone.
template <typename MakeInput, typename Decode>
void measure(benchmark::State& state, MakeInput makeInput, Decode decode) {
    const auto lines = static_cast<double>(state.range(0));
    double kept = 0;
    for (auto round : state) {
        const double before = allocatedBytes();
        auto input = std::optional(makeInput());
        const double start = computedSeconds();
        auto decoded = decode(*input);
        state.SetIterationTime(computedSeconds() - start);
        benchmark::DoNotOptimize(decoded);
        input.reset();
        kept = allocatedBytes() - before;
    }
    state.counters["kept_per_line"] = kept / lines;
    state.counters["body_per_line"] =
        static_cast<double>(bench::ledgerBody(static_cast<int>(lines)).size()) / lines;
}

void quilloRecords(benchmark::State& state) {
    const QByteArray body = bench::ledgerBody(static_cast<int>(state.range(0)));
    measure(
        state, [&body] { return QByteArray(body.constData(), body.size()); },
        [](QByteArray& input) { return decodeTimeline(std::move(input)); });
}

/// A line as somebody would write it who does not care for memory.
template <typename String>
struct PlainLine {
    std::optional<String> txnId = {};
    String date = {};
    double amount = 0;
    std::optional<String> merchant = {};
    std::optional<String> name = {};
    std::optional<std::int64_t> pending = {};
    double runningBalance = 0;
    std::optional<bool> synthetic = {};
    std::optional<String> accountMask = {};
    std::optional<String> note = {};
};

template <typename Stored, typename Read = Stored>
[[nodiscard]] std::optional<Stored> optionalMember(simdjson::dom::element element) {
    if (element.is_null()) {
        return std::nullopt;
    }
    return Stored(element.get<Read>().value());
}

/// One pass over each object in the order of its members, nothing checked that is not needed.
[[nodiscard]] std::vector<PlainLine<std::string>> plainFill(simdjson::dom::element root) {
    const auto array = root["transactions"].get_array().value();
    std::vector<PlainLine<std::string>> lines;
    lines.reserve(array.size());
    for (const auto element : array) {
        auto& line = lines.emplace_back();
        auto field = element.get_object().value().begin();
        const auto next = [&field] {
            const auto value = field.value();
            ++field;
            return value;
        };
        line.txnId = optionalMember<std::string, std::string_view>(next());
        line.date = next().get_string().value();
        line.amount = next().get_double();
        line.merchant = optionalMember<std::string, std::string_view>(next());
        line.name = optionalMember<std::string, std::string_view>(next());
        line.pending = optionalMember<std::int64_t>(next());
        line.runningBalance = next().get_double();
        line.synthetic = optionalMember<bool>(next());
        line.accountMask = optionalMember<std::string, std::string_view>(next());
        line.note = optionalMember<std::string, std::string_view>(next());
    }
    return lines;
}

[[nodiscard]] std::vector<PlainLine<QString>> qtPlainFill(const QJsonDocument& document) {
    const QJsonArray array = document.object().value(u"transactions"_s).toArray();
    std::vector<PlainLine<QString>> lines;
    lines.reserve(static_cast<std::size_t>(array.size()));
    const auto text = [](const QJsonValue& value) {
        return value.isString() ? std::optional(value.toString()) : std::nullopt;
    };
    for (const QJsonValue& element : array) {
        const QJsonObject object = element.toObject();
        auto& line = lines.emplace_back();
        line.txnId = text(object.value(u"txn_id"_s));
        line.date = object.value(u"date"_s).toString();
        line.amount = object.value(u"amount"_s).toDouble();
        line.merchant = text(object.value(u"merchant"_s));
        line.name = text(object.value(u"name"_s));
        line.pending = object.value(u"pending"_s).toInteger();
        line.runningBalance = object.value(u"running_balance"_s).toDouble();
        line.synthetic = object.value(u"synthetic"_s).toBool();
        line.accountMask = text(object.value(u"account_mask"_s));
        line.note = text(object.value(u"note"_s));
    }
    return lines;
}

[[nodiscard]] simdjson::padded_string paddedBody(const benchmark::State& state) {
    const QByteArray body = bench::ledgerBody(static_cast<int>(state.range(0)));
    return simdjson::padded_string(body.constData(), static_cast<std::size_t>(body.size()));
}

void simdjsonParseAndPlainFill(benchmark::State& state) {
    const auto body = paddedBody(state);
    measure(
        state, [] { return 0; },
        [&body](int) {
            simdjson::dom::parser parser;
            return plainFill(parser.parse(body).value());
        });
}

void simdjsonParseAlone(benchmark::State& state) {
    const auto body = paddedBody(state);
    measure(
        state, [] { return 0; },
        [&body](int) {
            simdjson::dom::parser parser;
            return parser.parse(body).value().is_object();
        });
}

void qtDocumentAndPlainFill(benchmark::State& state) {
    const QByteArray body = bench::ledgerBody(static_cast<int>(state.range(0)));
    measure(
        state, [&body] { return QByteArray(body.constData(), body.size()); },
        [](const QByteArray& input) { return qtPlainFill(QJsonDocument::fromJson(input)); });
}

void qtDocumentAlone(benchmark::State& state) {
    const QByteArray body = bench::ledgerBody(static_cast<int>(state.range(0)));
    measure(
        state, [&body] { return QByteArray(body.constData(), body.size()); },
        [](const QByteArray& input) { return QJsonDocument::fromJson(input); });
}

void ledgerSizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1'000)->Arg(100'000)->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(quilloRecords)->Apply(ledgerSizes);
BENCHMARK(simdjsonParseAndPlainFill)->Apply(ledgerSizes);
BENCHMARK(simdjsonParseAlone)->Apply(ledgerSizes);
BENCHMARK(qtDocumentAndPlainFill)->Apply(ledgerSizes);
BENCHMARK(qtDocumentAlone)->Apply(ledgerSizes);

} // namespace
