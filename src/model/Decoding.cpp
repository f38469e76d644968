#include "model/Decoding.h"

#include "model/JsonReader.h"
#include "model/TextPool.h"

#include <string_view>
#include <utility>

namespace quillo {
namespace {

/// Texts of the lines that come again and again, each stored once.
struct LedgerTexts {
    TextPool<QString> dates;
    TextPool<Text> merchants;
    TextPool<Text> names;
    TextPool<Text> accountMasks;
    TextPool<Text> notes;
};

[[nodiscard]] Text unique(const std::optional<std::string_view>& utf8) {
    return utf8 ? Text::fromUtf8(*utf8) : Text();
}

[[nodiscard]] Text shared(TextPool<Text>& pool, const std::optional<std::string_view>& utf8) {
    return utf8 ? pool.value(*utf8, Text::fromUtf8) : Text();
}

// The initialisers below run in the order written, so the first member that is wrong, in the records' order,
// is the one that the error names.

[[nodiscard]] Transaction decodeTransaction(const JsonValue& value, LedgerTexts& texts) {
    const JsonMembers<"txn_id", "date", "amount", "merchant", "name", "pending", "running_balance",
                      "synthetic", "account_mask", "note">
        line(value);
    return {
        .txnId = unique(line.optional<"txn_id", std::string_view>()),
        .date = texts.dates.value(line.required<"date", std::string_view>(), stringFromUtf8),
        .amount = line.required<"amount", double>(),
        .merchant = shared(texts.merchants, line.optional<"merchant", std::string_view>()),
        .name = shared(texts.names, line.optional<"name", std::string_view>()),
        .pending = line.optional<"pending", std::int64_t>(),
        .runningBalance = line.required<"running_balance", double>(),
        .synthetic = line.optional<"synthetic", bool>(),
        .accountMask = shared(texts.accountMasks, line.optional<"account_mask", std::string_view>()),
        .note = shared(texts.notes, line.optional<"note", std::string_view>()),
    };
}

[[nodiscard]] BankOutage::Area decodeArea(const JsonValue& value) {
    const JsonMembers<"area", "status"> area(value);
    return {.area = area.required<"area", QString>(), .status = area.required<"status", QString>()};
}

[[nodiscard]] std::optional<BankOutage> decodeBankOutage(const std::optional<JsonValue>& value) {
    if (!value) {
        return std::nullopt;
    }
    const JsonMembers<"areas"> outage(*value);
    return BankOutage{.areas = outage.list<"areas">(decodeArea)};
}

[[nodiscard]] ItemStatus decodeItemStatus(const JsonValue& value) {
    const JsonMembers<"item_id", "institution", "error_code", "error_message", "needs_update",
                      "needs_add_credit", "has_credit_account", "bank_outage", "hint">
        item(value);
    return {
        .itemId = item.required<"item_id", QString>(),
        .institution = item.optional<"institution", QString>(),
        .errorCode = item.optional<"error_code", QString>(),
        .errorMessage = item.optional<"error_message", QString>(),
        .needsUpdate = item.required<"needs_update", bool>(),
        .needsAddCredit = item.optional<"needs_add_credit", bool>(),
        .hasCreditAccount = item.optional<"has_credit_account", bool>(),
        .bankOutage = decodeBankOutage(item.optional<"bank_outage", JsonValue>()),
        .hint = item.optional<"hint", QString>(),
    };
}

[[nodiscard]] SnapshotSummary decodeSnapshotSummary(const JsonValue& value) {
    const JsonMembers<"snapshot_date", "created_at", "total_owed", "pending_holds", "total_with_pending",
                      "available", "txn_count">
        day(value);
    return {
        .snapshotDate = day.required<"snapshot_date", QString>(),
        .createdAt = day.required<"created_at", QString>(),
        .totalOwed = day.optional<"total_owed", double>(),
        .pendingHolds = day.optional<"pending_holds", double>(),
        .totalWithPending = day.optional<"total_with_pending", double>(),
        .available = day.optional<"available", double>(),
        .txnCount = day.required<"txn_count", std::int64_t>(),
    };
}

} // namespace

Timeline decodeTimeline(QByteArray body) {
    const JsonDocument document(std::move(body));
    const JsonMembers<"total_owed", "pending_holds", "total_with_pending", "credit_limit", "available",
                      "transactions", "as_of">
        ledger(document.root());
    Timeline timeline{
        .totalOwed = ledger.required<"total_owed", double>(),
        .pendingHolds = ledger.required<"pending_holds", double>(),
        .totalWithPending = ledger.required<"total_with_pending", double>(),
        .creditLimit = ledger.required<"credit_limit", double>(),
        .available = ledger.required<"available", double>(),
        .asOf = {},
        .transactions = {},
        .fetchedAt = std::nullopt,
    };
    LedgerTexts texts;
    timeline.transactions = ledger.list<"transactions">(
        [&texts](const JsonValue& line) { return decodeTransaction(line, texts); });
    timeline.asOf = ledger.required<"as_of", QString>();
    return timeline;
}

StatusResponse decodeStatusResponse(QByteArray body) {
    const JsonDocument document(std::move(body));
    const JsonMembers<"items"> response(document.root());
    return {.items = response.list<"items">(decodeItemStatus)};
}

SnapshotListResponse decodeSnapshotListResponse(QByteArray body) {
    const JsonDocument document(std::move(body));
    const JsonMembers<"snapshots"> response(document.root());
    return {.snapshots = response.list<"snapshots">(decodeSnapshotSummary)};
}

} // namespace quillo
