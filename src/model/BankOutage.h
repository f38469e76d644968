#pragma once

#include <QHashFunctions>
#include <QString>

#include <cstddef>
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

} // namespace quillo
