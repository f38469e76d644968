#include "ui/ledger/LedgerHeaderContent.h"

#include "core/PlainText.h"
#include "store/BankLinks.h"
#include "ui/MenuBarLabel.h"
#include "ui/NumberFormat.h"

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

QString dollars(double amount) {
    return NumberFormat::dollars(amount, 2);
}

BannerContent snapshotBanner(const QString& date) {
    return {.symbol = u"clock.arrow.circlepath"_s,
            .subtitle = u"Viewing snapshot from "_s + date + u" — read-only, frozen at end of that day."_s,
            .buttonTitle = u"Back to live"_s};
}

BannerContent linkBanner(const Attention& attention) {
    BannerContent banner{.symbol = u"exclamationmark.triangle.fill"_s, .subtitle = attention.message};
    switch (attention.trouble) {
    case Trouble::reconnect:
        banner.headline = u"Bank connection needs re-authentication"_s;
        banner.buttonTitle = u"Reconnect now"_s;
        banner.tone = BannerContent::Tone::red;
        break;
    case Trouble::addCard:
        banner.headline = u"No credit card linked"_s;
        banner.buttonTitle = u"Re-run Link"_s;
        banner.tone = BannerContent::Tone::orange;
        break;
    case Trouble::outage:
        banner.headline = u"Bank is having a service issue"_s;
        banner.tone = BannerContent::Tone::orange;
        break;
    }
    return banner;
}

LedgerTotals totalsOf(const Timeline& ledger) {
    LedgerTotals totals{.caption = u"OWED NOW"_s,
                        .posted = dollars(ledger.totalOwed),
                        .pending = {},
                        .total = {},
                        .available = u"Available "_s + dollars(ledger.available),
                        .asOf = u"as of "_s + plainLine(ledger.asOf)};
    if (ledger.pendingHolds >= MenuBarLabel::leastPending) {
        totals.caption = u"TOTAL OWED (POSTED + PENDING AUTHORIZATIONS)"_s;
        totals.pending = dollars(ledger.pendingHolds);
        totals.total = dollars(ledger.totalWithPending);
        totals.available = dollars(ledger.available) + u" available"_s;
    }
    return totals;
}

} // namespace

LedgerHeaderContent LedgerHeaderContent::of(const AppState& state) {
    LedgerHeaderContent content;
    if (state.day) {
        content.snapshot = snapshotBanner(state.day->date);
    }
    if (const auto problem = attention(*state.links, windowOrder)) {
        content.link = linkBanner(*problem);
    }
    if (const auto& ledger = state.visible()) {
        content.totals = totalsOf(*ledger);
    } else if (state.error) {
        content.error = BannerContent{.symbol = u"exclamationmark.triangle"_s,
                                      .subtitle = *state.error,
                                      .tone = BannerContent::Tone::red};
    } else {
        content.isWaiting = true;
    }
    return content;
}

} // namespace quillo
