#pragma once

#include "model/Timeline.h"

#include <QString>

#include <cstdint>
#include <string>
#include <vector>

namespace quillo {

/// Which lines of a ledger hold a text. Every distinct description is put into a form for searching once per
/// ledger; after that a search is one pass over their bytes.
class LedgerSearch {
public:
    /// Takes up another ledger, or none. It need not outlive this call.
    void setLedger(const Timeline* ledger);

    /// Finds the text in the description, or else in the name; white space (but no line breaks) at its ends
    /// and case do not matter. With nothing left, nothing is searched for. Holds for later ledgers, too.
    void setText(const QString& text);

    /// Whether nothing is searched for, so that every line passes.
    [[nodiscard]] bool isEmpty() const noexcept { return query.empty(); }

    /// Those of `lines` that hold the text, in their order; all of them when it is empty.
    [[nodiscard]] std::vector<std::uint32_t> passing(const std::vector<std::uint32_t>& lines) const;

private:
    void search();

    std::string query;
    /// Of each line, which distinct description it has.
    std::vector<std::uint32_t> labelOfLine;
    /// The searchable text of every distinct description, one after the other, each ended by `separator`.
    std::string haystack;
    /// Where each begins.
    std::vector<std::uint32_t> labelStarts;
    /// Of each distinct description, 1 when it holds the text, else 0.
    std::vector<std::uint8_t> found;
};

} // namespace quillo
