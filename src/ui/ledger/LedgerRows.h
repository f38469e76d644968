#pragma once

#include "model/Timeline.h"

#include <QString>

#include <cstdint>
#include <vector>

namespace quillo {

/// The columns of the ledger, in their order on screen.
enum class LedgerColumn { date, description, amount, runningBalance };

struct LedgerSortOrder {
    LedgerColumn column = LedgerColumn::date; ///< any but the description, which cannot be sorted
    Qt::SortOrder direction = Qt::DescendingOrder;

    [[nodiscard]] bool operator==(const LedgerSortOrder&) const = default;
};

/// Which lines of a ledger are shown, and in which order: an index over the ledger, which itself is neither
/// copied nor changed.
///
/// Every distinct description is prepared for searching once per ledger, and the sorted order of all lines is
/// kept, so that a keystroke costs one scan of the descriptions and one pass over the index.
class LedgerRows {
public:
    /// Takes up another ledger, or none; search and order stay. The ledger must outlive its use here.
    void setLedger(const Timeline* ledger);

    /// Shows only lines whose description, or else whose name, contains the text: white space (but no line
    /// breaks) at its ends and case do not matter. Nothing left means every line.
    void setSearch(const QString& text);

    /// Dates are compared as text, amounts as numbers. Lines that compare equal keep the backend's order,
    /// whatever the direction.
    void setSortOrder(LedgerSortOrder order);

    [[nodiscard]] LedgerSortOrder sortOrder() const noexcept { return order; }

    /// Positions in the ledger's list, in the order of the screen.
    [[nodiscard]] const std::vector<std::uint32_t>& rows() const noexcept { return shown; }

private:
    void prepareLabels();
    void sort();
    void filter();

    const Timeline* ledger = nullptr;
    QByteArray query;
    LedgerSortOrder order;

    /// Of each line, which distinct description it has.
    std::vector<std::uint32_t> labelOfLine;
    /// The searchable text of every distinct description, one after the other, each ended by `separator`.
    QByteArray haystack;
    /// Where each begins.
    std::vector<std::uint32_t> labelStarts;
    std::vector<std::uint32_t> sorted;
    std::vector<std::uint32_t> shown;
};

} // namespace quillo
