#pragma once

#include "core/Shared.h"
#include "model/SnapshotSummary.h"

#include <QAbstractListModel>

#include <optional>
#include <vector>

namespace quillo {

/// What the ledger's picker offers: "Live", then the days in the backend's order, each with what was owed in
/// whole dollars. Texts are made when they are looked at: however many days there are, listing them costs
/// nothing.
class SnapshotList final : public QAbstractListModel {
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;

    using Days = Shared<std::vector<SnapshotSummary>>;

    void setDays(Days days);
    [[nodiscard]] const Days& days() const noexcept { return listed; }

    /// The day behind an entry, as the backend wrote it; none for "Live".
    [[nodiscard]] std::optional<QString> date(int entry) const;

    /// The entry of a day, or of "Live"; -1 when there is none.
    [[nodiscard]] int entryOf(const std::optional<QString>& date) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

private:
    Days listed;
};

} // namespace quillo
