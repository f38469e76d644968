#pragma once

#include <QHashFunctions>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace quillo {

/// One day's frozen ledger in the list of days: the totals mean what they mean in Timeline, and are absent
/// for a day without a balance.
struct SnapshotSummary {
    QString snapshotDate = {}; ///< names the day in requests, as sent, never parsed
    QString createdAt = {};
    std::optional<double> totalOwed = {};
    std::optional<double> pendingHolds = {};
    std::optional<double> totalWithPending = {};
    std::optional<double> available = {};
    std::int64_t txnCount = 0;

    [[nodiscard]] const QString& id() const noexcept { return snapshotDate; }

    friend bool operator==(const SnapshotSummary&, const SnapshotSummary&) = default;
};

/// The days that have a snapshot, in the backend's order.
struct SnapshotListResponse {
    std::vector<SnapshotSummary> snapshots = {};
};

/// Agrees with `==`: 0.0 and -0.0 hash alike.
[[nodiscard]] inline std::size_t qHash(const SnapshotSummary& summary, std::size_t seed = 0) noexcept {
    return qHashMulti(seed, summary.snapshotDate, summary.createdAt, summary.totalOwed.has_value(),
                      summary.totalOwed.value_or(0), summary.pendingHolds.has_value(),
                      summary.pendingHolds.value_or(0), summary.totalWithPending.has_value(),
                      summary.totalWithPending.value_or(0), summary.available.has_value(),
                      summary.available.value_or(0), summary.txnCount);
}

} // namespace quillo
