#pragma once

#include "model/Timeline.h"

#include <QString>
#include <Qt>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quillo {

/// The columns of the ledger, in their order on screen.
enum class LedgerColumn { date, description, amount, runningBalance };

/// Dates are compared as text, amounts as numbers. Lines that compare equal keep the backend's order,
/// whatever the direction.
struct LedgerSortOrder {
    LedgerColumn column = LedgerColumn::date; ///< any but the description, which cannot be sorted
    Qt::SortOrder direction = Qt::DescendingOrder;

    [[nodiscard]] bool operator==(const LedgerSortOrder&) const = default;
};

/// The position of a line in its ledger's list.
using LinePosition = std::uint32_t;

/// No line, or one without a row.
inline constexpr LinePosition noLine = UINT32_MAX;

/// A ledger ready to be searched and sorted. Making one takes a time that grows with the ledger, so a large
/// one is made on another thread; it is never changed after that and may be read from any.
class PreparedLedger {
public:
    /// Without a ledger it has no lines.
    explicit PreparedLedger(Ledger ledger = {});

    /// The same for a ledger whose lines are those of `same`, at the cost of nothing.
    PreparedLedger(Ledger ledger, const PreparedLedger& same);

    [[nodiscard]] const Ledger& ledger() const noexcept { return source; }

    [[nodiscard]] const std::vector<Transaction>& lines() const;

    /// The lines that hold the text in their description or else in their name, in that order. White space
    /// (but no line breaks) at the ends of `search` and case do not matter; when nothing is left of it, every
    /// line passes.
    [[nodiscard]] std::vector<LinePosition> rows(const QString& search, LedgerSortOrder order) const;

private:
    struct Index;

    [[nodiscard]] std::vector<bool> holding(const std::string& query) const;

    Ledger source;
    std::shared_ptr<const Index> index;
};

/// Of each line of `before`, where the same line stands in `after`; `noLine` when it has gone. Lines are the
/// same when their ids are; of several with one id the first is the first, and so on.
[[nodiscard]] std::vector<LinePosition> successors(const std::vector<Transaction>& before,
                                                   const std::vector<Transaction>& after);

/// Which lines of a ledger a table shows, and in which order: an immutable value that owns what it shows.
struct LedgerRows {
    std::shared_ptr<const PreparedLedger> prepared = std::make_shared<const PreparedLedger>();
    QString search = {};
    LedgerSortOrder order = {};
    std::vector<LinePosition> lines = {};  ///< of each row
    std::vector<LinePosition> places = {}; ///< the row of each line; `noLine` for one that is not shown

    [[nodiscard]] static LedgerRows of(std::shared_ptr<const PreparedLedger> prepared, QString search,
                                       LedgerSortOrder order);

    [[nodiscard]] int count() const noexcept { return static_cast<int>(lines.size()); }

    /// `row` is one of `count()`.
    [[nodiscard]] const Transaction& operator[](int row) const {
        return prepared->lines()[lines[static_cast<std::size_t>(row)]];
    }

    /// The row of a line; -1 when it is not shown.
    [[nodiscard]] int rowOf(LinePosition line) const noexcept {
        return line < places.size() ? static_cast<int>(places[line]) : -1;
    }
};

} // namespace quillo
