#pragma once

#include "auth/AuthState.h"
#include "core/Shared.h"
#include "model/ItemStatus.h"
#include "model/SnapshotSummary.h"
#include "model/Timeline.h"

#include <QString>

#include <optional>
#include <vector>

namespace quillo {

/// A past day that is looked at, with its ledger.
struct Day {
    QString date; ///< as the backend wrote it
    Ledger ledger;

    [[nodiscard]] bool operator==(const Day&) const = default;
};

/// What the views show, as one value: they compute everything from it. Made by the store for each rendering;
/// copies cost nothing, and holding one keeps its ledgers.
struct AppState {
    Ledger live = {};                               ///< of the last successful refresh
    Shared<std::vector<ItemStatus>> links = {};     ///< of the same refresh
    Shared<std::vector<SnapshotSummary>> days = {}; ///< that can be looked at, in the backend's order
    std::optional<Day> day = {};                    ///< that is looked at; absent means live
    std::optional<QString> error = {};              ///< the one error line
    AuthState auth = AuthState::signedOut();
    std::optional<QString> authError = {}; ///< the last sign-in failure
    qint64 refreshInterval = 0;            ///< in seconds
    bool isLoading = false;                ///< a refresh is under way

    /// The ledger to draw: the day's while one is looked at, else the live one.
    [[nodiscard]] const Ledger& visible() const noexcept { return day ? day->ledger : live; }
};

} // namespace quillo
