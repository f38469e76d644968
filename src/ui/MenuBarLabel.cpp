#include "ui/MenuBarLabel.h"

#include "store/BankLinks.h"
#include "ui/NumberFormat.h"

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

MenuBarLabel labelOf(Trouble trouble) {
    switch (trouble) {
    case Trouble::outage:
        return {.iconName = u"network.slash"_s, .text = u"Quillo · Bank issue"_s};
    case Trouble::reconnect:
        return {.iconName = u"exclamationmark.triangle.fill"_s, .text = u"Quillo · Reconnect"_s};
    case Trouble::addCard:
        return {.iconName = u"creditcard.trianglebadge.exclamationmark"_s,
                .text = u"Quillo · Add credit card"_s};
    }
    return {};
}

QString amountText(const Timeline& ledger) {
    if (ledger.pendingHolds >= MenuBarLabel::leastPending) {
        return u'$' + MenuBarLabel::fmt(ledger.totalOwed, 0) + u" + $"_s +
               MenuBarLabel::fmt(ledger.pendingHolds, 0) + u" pend"_s;
    }
    return u'$' + MenuBarLabel::fmt(ledger.totalOwed, 2);
}

} // namespace

MenuBarLabel MenuBarLabel::of(const AppState& state) {
    if (const auto problem = attention(*state.links, panelOrder)) {
        return labelOf(problem->trouble);
    }
    // An error does not hide the last known amount; the symbol tells of it.
    if (state.live && state.error) {
        return {.iconName = u"exclamationmark.circle"_s, .text = amountText(*state.live)};
    }
    if (state.live) {
        return {.iconName = u"creditcard"_s,
                .text = amountText(*state.live),
                .shortText = NumberFormat::shortDollars(state.live->totalOwed)};
    }
    if (state.error) {
        return {.iconName = u"exclamationmark.circle"_s, .text = u"Quillo"_s};
    }
    return {.iconName = u"hourglass"_s, .text = u"Quillo…"_s};
}

QString MenuBarLabel::fmt(double value, int decimals) {
    return NumberFormat::decimal(value, decimals);
}

} // namespace quillo
