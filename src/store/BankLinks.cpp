#include "store/AppStore.h"

#include <algorithm>

/// What the bank links ask of the user: further members of the store.
namespace quillo {

namespace {

template <typename Condition>
const ItemStatus* firstLink(const std::vector<ItemStatus>& links, Condition condition) {
    const auto found = std::ranges::find_if(links, condition);
    return found == links.end() ? nullptr : &*found;
}

const ItemStatus* linkToReconnect(const std::vector<ItemStatus>& links) {
    return firstLink(links, [](const ItemStatus& link) { return link.needsUpdate; });
}

const ItemStatus* degradedLink(const std::vector<ItemStatus>& links) {
    return firstLink(links, [](const ItemStatus& link) { return link.isBankDegraded(); });
}

const ItemStatus* linkWithoutCard(const std::vector<ItemStatus>& links) {
    return firstLink(links, [](const ItemStatus& link) { return link.needsLinkCreditCard(); });
}

} // namespace

bool AppStore::needsReconnect() const {
    return linkToReconnect(itemStatuses) != nullptr;
}

bool AppStore::hasBankOutage() const {
    return degradedLink(itemStatuses) != nullptr;
}

bool AppStore::needsAddCreditCard() const {
    return linkWithoutCard(itemStatuses) != nullptr;
}

std::optional<QString> AppStore::reconnectMessage() const {
    const auto* link = linkToReconnect(itemStatuses);
    if (!link) {
        return std::nullopt;
    }
    return link->institution.value_or(QStringLiteral("your bank")) +
           QStringLiteral(" needs re-authentication — ") +
           link->errorMessage.value_or(QStringLiteral("OAuth consent expired")) + u'.';
}

std::optional<QString> AppStore::outageMessage() const {
    const auto* link = degradedLink(itemStatuses);
    if (!link) {
        return std::nullopt;
    }
    return link->hint.value_or(link->institution.value_or(QStringLiteral("Your bank")) +
                               QStringLiteral(" is experiencing a service issue. Retry later."));
}

std::optional<QString> AppStore::addCreditMessage() const {
    const auto* link = linkWithoutCard(itemStatuses);
    if (!link) {
        return std::nullopt;
    }
    return link->institution.value_or(QStringLiteral("Your bank")) +
           QStringLiteral(" is connected but no credit card is linked. Re-run Link to add it.");
}

} // namespace quillo
