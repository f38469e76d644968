#pragma once

#include "model/Transaction.h"

#include <QDateTime>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace quillo {

/// A whole ledger, live or of one day: the totals in dollars and the lines in the backend's order. The values
/// of a decoded ledger are not changed; only `fetchedAt` is set later.
struct Timeline {
    double totalOwed = 0;
    double pendingHolds = 0;
    double totalWithPending = 0;
    double creditLimit = 0;
    double available = 0;
    QString asOf = {}; ///< the moment the totals refer to, as sent, never parsed
    std::vector<Transaction> transactions = {};
    std::optional<QDateTime> fetchedAt = {}; ///< when a live ledger arrived, in local time; never in the body
};

/// A ledger as it goes from who publishes it to who shows it: nobody changes it, and whoever reads it holds
/// it. Null where there is none.
using Ledger = std::shared_ptr<const Timeline>;

} // namespace quillo
