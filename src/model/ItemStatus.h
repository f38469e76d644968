#pragma once

#include <QHashFunctions>
#include <QString>

#include <cstddef>
#include <optional>
#include <vector>

namespace quillo {

/// An outage of the bank's own service.
struct BankOutage {
    /// An affected part of the service and its state, both free text of the backend.
    struct Area {
        QString area = {};
        QString status = {};

        friend bool operator==(const Area&, const Area&) = default;
        friend std::size_t qHash(const Area& each, std::size_t seed = 0) noexcept {
            return qHashMulti(seed, each.area, each.status);
        }
    };

    std::vector<Area> areas = {}; ///< when empty there is no outage

    friend bool operator==(const BankOutage&, const BankOutage&) = default;
};

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

/// The state of every bank link, in the backend's order.
struct StatusResponse {
    std::vector<ItemStatus> items = {};
};

} // namespace quillo
