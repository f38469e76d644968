#include "store/BankLinks.h"

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

/// The text for the user about the link, absent when it has no such trouble.
std::optional<QString> messageOf(const ItemStatus& link, Trouble trouble) {
    switch (trouble) {
    case Trouble::outage:
        if (link.isBankDegraded()) {
            return link.hint.value_or(link.institution.value_or(u"Your bank"_s) +
                                      u" is experiencing a service issue. Retry later."_s);
        }
        break;
    case Trouble::reconnect:
        if (link.needsUpdate) {
            return link.institution.value_or(u"your bank"_s) + u" needs re-authentication — "_s +
                   link.errorMessage.value_or(u"OAuth consent expired"_s) + u'.';
        }
        break;
    case Trouble::addCard:
        if (link.needsLinkCreditCard()) {
            return link.institution.value_or(u"Your bank"_s) +
                   u" is connected but no credit card is linked. Re-run Link to add it."_s;
        }
        break;
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> troubleMessage(const std::vector<ItemStatus>& links, Trouble trouble) {
    for (const auto& link : links) {
        if (auto message = messageOf(link, trouble)) {
            return message;
        }
    }
    return std::nullopt;
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
