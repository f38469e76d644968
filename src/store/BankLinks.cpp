#include "store/BankLinks.h"

#include <algorithm>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

bool has(const ItemStatus& link, Trouble trouble) {
    switch (trouble) {
    case Trouble::outage:
        return link.isBankDegraded();
    case Trouble::reconnect:
        return link.needsUpdate;
    case Trouble::addCard:
        return link.needsLinkCreditCard();
    }
    return false;
}

QString message(const ItemStatus& link, Trouble trouble) {
    switch (trouble) {
    case Trouble::outage:
        return link.hint.value_or(link.institution.value_or(u"Your bank"_s) +
                                  u" is experiencing a service issue. Retry later."_s);
    case Trouble::reconnect:
        return link.institution.value_or(u"your bank"_s) + u" needs re-authentication — "_s +
               link.errorMessage.value_or(u"OAuth consent expired"_s) + u'.';
    case Trouble::addCard:
        return link.institution.value_or(u"Your bank"_s) +
               u" is connected but no credit card is linked. Re-run Link to add it."_s;
    }
    return {};
}

} // namespace

std::optional<QString> troubleMessage(const std::vector<ItemStatus>& links, Trouble trouble) {
    const auto first =
        std::ranges::find_if(links, [trouble](const ItemStatus& link) { return has(link, trouble); });
    return first == links.end() ? std::nullopt : std::optional(message(*first, trouble));
}

std::optional<Attention> attention(const std::vector<ItemStatus>& links, std::span<const Trouble> order) {
    for (const auto trouble : order) {
        if (auto text = troubleMessage(links, trouble)) {
            return Attention{trouble, std::move(*text)};
        }
    }
    return std::nullopt;
}

} // namespace quillo
