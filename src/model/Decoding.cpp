#include "model/Decoding.h"

#include "model/JsonReader.h"
#include "model/TextPool.h"
#include "model/Utf8.h"

#include <string_view>
#include <utility>

namespace quillo {
namespace {

/// Texts of one member of the lines that come again and again, each stored once.
class SharedTexts {
public:
    [[nodiscard]] Text text(const std::optional<std::string_view>& utf8) {
        return utf8 ? pool.value(*utf8, Text::fromUtf8) : Text();
    }

private:
    TextPool<Text> pool;
};

struct LedgerTexts {
    TextPool<QString> dates;
    SharedTexts merchants;
    SharedTexts names;
    SharedTexts accountMasks;
    SharedTexts notes;
};

[[nodiscard]] Text unique(const std::optional<std::string_view>& utf8) {
    return utf8 ? Text::fromUtf8(*utf8) : Text();
}

// The initialisers below run in the order written, so the first member that is wrong, in the records' order,
// is the one that the error names.

[[nodiscard]] Transaction decodeTransaction(const JsonValue& value, LedgerTexts& texts) {
    const JsonMembers<"txn_id", "date", "amount", "merchant", "name", "pending", "running_balance",
                      "synthetic", "account_mask", "note">
        line(value);
    return {
        .txnId = unique(line.optionalUtf8<"txn_id">()),
        .date = texts.dates.value(line.utf8<"date">(), stringFromUtf8),
        .amount = line.number<"amount">(),
        .merchant = texts.merchants.text(line.optionalUtf8<"merchant">()),
        .name = texts.names.text(line.optionalUtf8<"name">()),
        .pending = line.optionalInteger<"pending">(),
        .runningBalance = line.number<"running_balance">(),
        .synthetic = line.optionalBoolean<"synthetic">(),
        .accountMask = texts.accountMasks.text(line.optionalUtf8<"account_mask">()),
        .note = texts.notes.text(line.optionalUtf8<"note">()),
    };
}

[[nodiscard]] BankOutage::Area decodeArea(const JsonValue& value) {
    const JsonMembers<"area", "status"> area(value);
    return {.area = area.text<"area">(), .status = area.text<"status">()};
}

[[nodiscard]] BankOutage decodeBankOutage(const JsonValue& value) {
    const JsonMembers<"areas"> outage(value);
    return {.areas = outage.list<"areas">(decodeArea)};
}

[[nodiscard]] ItemStatus decodeItemStatus(const JsonValue& value) {
    const JsonMembers<"item_id", "institution", "error_code", "error_message", "needs_update",
                      "needs_add_credit", "has_credit_account", "bank_outage", "hint">
        item(value);
    ItemStatus status{
        .itemId = item.text<"item_id">(),
        .institution = item.optionalText<"institution">(),
        .errorCode = item.optionalText<"error_code">(),
        .errorMessage = item.optionalText<"error_message">(),
        .needsUpdate = item.boolean<"needs_update">(),
        .needsAddCredit = item.optionalBoolean<"needs_add_credit">(),
        .hasCreditAccount = item.optionalBoolean<"has_credit_account">(),
        .bankOutage = std::nullopt,
        .hint = std::nullopt,
    };
    if (const auto outage = item.optional<"bank_outage">()) {
        status.bankOutage = decodeBankOutage(*outage);
    }
    status.hint = item.optionalText<"hint">();
    return status;
}

[[nodiscard]] SnapshotSummary decodeSnapshotSummary(const JsonValue& value) {
    const JsonMembers<"snapshot_date", "created_at", "total_owed", "pending_holds", "total_with_pending",
                      "available", "txn_count">
        day(value);
    return {
        .snapshotDate = day.text<"snapshot_date">(),
        .createdAt = day.text<"created_at">(),
        .totalOwed = day.optionalNumber<"total_owed">(),
        .pendingHolds = day.optionalNumber<"pending_holds">(),
        .totalWithPending = day.optionalNumber<"total_with_pending">(),
        .available = day.optionalNumber<"available">(),
        .txnCount = day.integer<"txn_count">(),
    };
}

} // namespace

Timeline decodeTimeline(QByteArray body) {
    const JsonDocument document(std::move(body));
    const JsonMembers<"total_owed", "pending_holds", "total_with_pending", "credit_limit", "available",
                      "transactions", "as_of">
        ledger(document.root());
    Timeline timeline{
        .totalOwed = ledger.number<"total_owed">(),
        .pendingHolds = ledger.number<"pending_holds">(),
        .totalWithPending = ledger.number<"total_with_pending">(),
        .creditLimit = ledger.number<"credit_limit">(),
        .available = ledger.number<"available">(),
        .asOf = {},
        .transactions = {},
        .fetchedAt = std::nullopt,
    };
    LedgerTexts texts;
    timeline.transactions = ledger.list<"transactions">(
        [&texts](const JsonValue& line) { return decodeTransaction(line, texts); });
    timeline.asOf = ledger.text<"as_of">();
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
