#pragma once

#include "model/ItemStatus.h"

#include <QString>

#include <array>
#include <optional>
#include <span>
#include <vector>

namespace quillo {

/// What can be wrong with a bank link.
enum class Trouble {
    outage,    ///< the bank's own; there is nothing the user can do
    reconnect, ///< the user has to sign in at the bank again
    addCard,   ///< the link works, but no credit card is linked through it
};

/// Which trouble comes first where only one is told of. The panel and its menu say first what cannot be
/// helped; the ledger window asks first for what the user can mend.
inline constexpr std::array panelOrder{Trouble::outage, Trouble::reconnect, Trouble::addCard};
inline constexpr std::array windowOrder{Trouble::reconnect, Trouble::addCard, Trouble::outage};

/// The text for the user about the first link, in the backend's order, that has this trouble; absent when
/// none has.
[[nodiscard]] std::optional<QString> troubleMessage(const std::vector<ItemStatus>& links, Trouble trouble);

/// A trouble and its text.
struct Attention {
    Trouble trouble = Trouble::outage;
    QString message = {};

    [[nodiscard]] bool operator==(const Attention&) const = default;
};

/// What the links ask of the user: the first trouble in that order that any of them has.
[[nodiscard]] std::optional<Attention> attention(const std::vector<ItemStatus>& links,
                                                 std::span<const Trouble> order);

} // namespace quillo
