#pragma once

#include "model/BankOutage.h"

#include <QString>

#include <optional>

namespace quillo {

/// The state of one bank link (an item, as the aggregator calls it).
struct ItemStatus {
    QString itemId = {};
    std::optional<QString> institution = {}; ///< the bank's name for display
    std::optional<QString> errorCode = {};   ///< the aggregator's error, passed through
    std::optional<QString> errorMessage = {};
    bool needsUpdate = false; ///< the user has to sign in at the bank again
    std::optional<bool> needsAddCredit = {};
    std::optional<bool> hasCreditAccount = {};
    std::optional<BankOutage> bankOutage = {};
    std::optional<QString> hint = {}; ///< a short text of the backend for the user

    [[nodiscard]] const QString& id() const noexcept { return itemId; }

    /// The bank names at least one affected area; an outage without areas is none.
    [[nodiscard]] bool isBankDegraded() const noexcept { return bankOutage && !bankOutage->areas.empty(); }

    /// The link works, but no credit card is linked through it. `hasCreditAccount` has no say in it.
    [[nodiscard]] bool needsLinkCreditCard() const noexcept { return needsAddCredit.value_or(false); }

    friend bool operator==(const ItemStatus&, const ItemStatus&) = default;
};

} // namespace quillo
