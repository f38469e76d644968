#include "core/LocalizedError.h"
#include "net/APIClient.h"
#include "store/AppStore.h"

/// Looking at a past day: further members of the store.
namespace quillo {

Task<> AppStore::loadSnapshots() {
    const auto chosen = co_await currentAuth();
    if (!chosen) {
        co_return;
    }
    auto request = services.client.snapshots(settings.backend, *chosen, settings.verifyTLS);
    try {
        auto snapshots = co_await request;
        availableSnapshots = std::move(snapshots);
    } catch (const std::exception& error) {
        lastError = QStringLiteral("Snapshots: ") + errorDescription(error);
    }
}

Task<> AppStore::loadSnapshot(std::optional<QString> date) {
    if (!date || date->isEmpty()) {
        selectedSnapshotDate = std::nullopt;
        snapshotTimeline = std::nullopt;
        co_return;
    }
    const auto chosen = co_await currentAuth();
    if (!chosen) {
        co_return;
    }
    auto request = services.client.snapshot(settings.backend, *date, *chosen, settings.verifyTLS);
    try {
        auto ledger = co_await request;
        // The ledger first: whoever sees the new selection finds the matching ledger in place.
        snapshotTimeline = std::move(ledger);
        selectedSnapshotDate = std::move(date);
    } catch (const std::exception& error) {
        lastError = QStringLiteral("Snapshot fetch: ") + errorDescription(error);
    }
}

const Timeline* AppStore::visibleTimeline() const {
    const auto& shown = isViewingSnapshot() ? snapshotTimeline.get() : timeline.get();
    return shown ? &*shown : nullptr;
}

} // namespace quillo
