#pragma once

#include "model/Text.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace quillo {

/// One line of the ledger. Amounts are dollars as the backend sent them; a charge is positive, a payment
/// negative. Moved, not copied, on its way from the body to the views.
struct Transaction {
    Text txnId = {};
    QString date = {}; ///< as sent, never parsed; in practice 2024-05-01, which sorts as text
    double amount = 0;
    Text merchant = {};
    Text name = {};
    std::optional<std::int64_t> pending = {}; ///< a flag that is a number on the wire
    double runningBalance = 0;
    std::optional<bool> synthetic = {}; ///< made up by the backend, not posted by the bank
    Text accountMask = {};
    Text note = {};

    /// Names the line in lists: `txnId` as sent, else date, label and amount joined by "-" (the amount in the
    /// shortest decimal digits that read back to it, with at least one after the point). Equal lines have
    /// equal ids; different lines may share one.
    [[nodiscard]] QString id() const;

    [[nodiscard]] bool isPending() const noexcept { return pending.value_or(0) != 0; }
    [[nodiscard]] bool isSynthetic() const noexcept { return synthetic.value_or(false); }

    /// The label: `merchant`, else `name`, else "charge". Only absence counts, an empty merchant is a label.
    [[nodiscard]] QString display() const;

    friend bool operator==(const Transaction&, const Transaction&) = default;
};

/// Agrees with `==`: 0.0 and -0.0 hash alike.
[[nodiscard]] std::size_t qHash(const Transaction& transaction, std::size_t seed = 0) noexcept;

} // namespace quillo
