#include "model/Decoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <type_traits>
#include <vector>

// Any bytes as each of the JSON bodies: they decode or fail with a text. What decoded is the same after being
// written as JSON, by software that is not ours, and decoded again.

namespace {

using namespace quillo;
using namespace Qt::Literals::StringLiterals;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

template <typename T>
[[nodiscard]] QJsonValue json(const std::optional<T>& value) {
    return value ? QJsonValue(*value) : QJsonValue();
}

[[nodiscard]] QJsonValue json(const std::optional<std::int64_t>& value) {
    return value ? QJsonValue(qint64{*value}) : QJsonValue();
}

[[nodiscard]] QJsonValue json(const Text& text) {
    return text ? QJsonValue(*text) : QJsonValue();
}

[[nodiscard]] QJsonObject json(const Transaction& line);
[[nodiscard]] QJsonObject json(const BankOutage::Area& area);
[[nodiscard]] QJsonObject json(const ItemStatus& item);
[[nodiscard]] QJsonObject json(const SnapshotSummary& day);

template <typename Record>
[[nodiscard]] QJsonArray jsonList(const std::vector<Record>& records) {
    QJsonArray array;
    for (const Record& record : records) {
        array.append(json(record));
    }
    return array;
}

[[nodiscard]] QJsonObject json(const Transaction& line) {
    return {{u"txn_id"_s, json(line.txnId)},
            {u"date"_s, line.date},
            {u"amount"_s, line.amount},
            {u"merchant"_s, json(line.merchant)},
            {u"name"_s, json(line.name)},
            {u"pending"_s, json(line.pending)},
            {u"running_balance"_s, line.runningBalance},
            {u"synthetic"_s, json(line.synthetic)},
            {u"account_mask"_s, json(line.accountMask)},
            {u"note"_s, json(line.note)}};
}

[[nodiscard]] QJsonObject json(const Timeline& timeline) {
    return {{u"total_owed"_s, timeline.totalOwed},
            {u"pending_holds"_s, timeline.pendingHolds},
            {u"total_with_pending"_s, timeline.totalWithPending},
            {u"credit_limit"_s, timeline.creditLimit},
            {u"available"_s, timeline.available},
            {u"transactions"_s, jsonList(timeline.transactions)},
            {u"as_of"_s, timeline.asOf}};
}

[[nodiscard]] QJsonObject json(const BankOutage::Area& area) {
    return {{u"area"_s, area.area}, {u"status"_s, area.status}};
}

[[nodiscard]] QJsonObject json(const ItemStatus& item) {
    QJsonObject object{{u"item_id"_s, item.itemId},
                       {u"institution"_s, json(item.institution)},
                       {u"error_code"_s, json(item.errorCode)},
                       {u"error_message"_s, json(item.errorMessage)},
                       {u"needs_update"_s, item.needsUpdate},
                       {u"needs_add_credit"_s, json(item.needsAddCredit)},
                       {u"has_credit_account"_s, json(item.hasCreditAccount)},
                       {u"hint"_s, json(item.hint)}};
    if (item.bankOutage) {
        object.insert(u"bank_outage"_s, QJsonObject{{u"areas"_s, jsonList(item.bankOutage->areas)}});
    }
    return object;
}

[[nodiscard]] QJsonObject json(const StatusResponse& response) {
    return {{u"items"_s, jsonList(response.items)}};
}

[[nodiscard]] QJsonObject json(const SnapshotSummary& day) {
    return {{u"snapshot_date"_s, day.snapshotDate},
            {u"created_at"_s, day.createdAt},
            {u"total_owed"_s, json(day.totalOwed)},
            {u"pending_holds"_s, json(day.pendingHolds)},
            {u"total_with_pending"_s, json(day.totalWithPending)},
            {u"available"_s, json(day.available)},
            {u"txn_count"_s, qint64{day.txnCount}}};
}

[[nodiscard]] QJsonObject json(const SnapshotListResponse& response) {
    return {{u"snapshots"_s, jsonList(response.snapshots)}};
}

/// Whether the lines are the same by their own equality, beside the comparison of what is written.
void requireSameLines(const Timeline& first, const Timeline& second) {
    require(first.transactions == second.transactions);
    for (std::size_t i = 0; i < first.transactions.size(); ++i) {
        require(first.transactions[i].id() == second.transactions[i].id());
        require(qHash(first.transactions[i]) == qHash(second.transactions[i]));
    }
}

template <typename Record>
void checkBody(const QByteArray& body, Record (*decode)(QByteArray)) {
    try {
        const Record decoded = decode(body);
        const QByteArray written = QJsonDocument(json(decoded)).toJson(QJsonDocument::Compact);
        const Record again = decode(written);
        require(QJsonDocument(json(again)).toJson(QJsonDocument::Compact) == written);
        if constexpr (std::is_same_v<Record, Timeline>) {
            requireSameLines(decoded, again);
        }
    } catch (const DecodingError& error) {
        require(error.errorDescription().contains(u": "_s));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Only borrowed: the bytes end where their allocation ends, so reading further is seen.
    const auto body =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    checkBody(body, decodeTimeline);
    checkBody(body, decodeStatusResponse);
    checkBody(body, decodeSnapshotListResponse);
    return 0;
}
