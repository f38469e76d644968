#pragma once

#include "model/Timeline.h"
#include "ui/ledger/LedgerOrder.h"

#include <QString>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quillo {

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

} // namespace quillo
