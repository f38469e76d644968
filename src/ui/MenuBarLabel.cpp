#include "ui/MenuBarLabel.h"

#include "platform/desktop/NotificationCenter.h"
#include "store/AppStore.h"
#include "ui/Environment.h"
#include "ui/NumberFormat.h"
#include "ui/ShortAmount.h"

namespace quillo {

namespace {
const QString normalSymbol = QStringLiteral("creditcard");
} // namespace

MenuBarLabel::MenuBarLabel(NotificationCenter& notifications, std::function<void()> openLedger)
    : store(Environment::store()),
      ledgerRequests(notifications.observe(notification::openLedgerRequested, std::move(openLedger))) {}

QString MenuBarLabel::iconName() const {
    if (store.hasBankOutage()) {
        return QStringLiteral("network.slash");
    }
    if (store.needsReconnect()) {
        return QStringLiteral("exclamationmark.triangle.fill");
    }
    if (store.needsAddCreditCard()) {
        return QStringLiteral("creditcard.trianglebadge.exclamationmark");
    }
    if (store.lastError->has_value()) {
        return QStringLiteral("exclamationmark.circle");
    }
    if (!store.timeline->has_value()) {
        return QStringLiteral("hourglass");
    }
    return normalSymbol;
}

QString MenuBarLabel::text() const {
    if (store.hasBankOutage()) {
        return QStringLiteral("Quillo · Bank issue");
    }
    if (store.needsReconnect()) {
        return QStringLiteral("Quillo · Reconnect");
    }
    if (store.needsAddCreditCard()) {
        return QStringLiteral("Quillo · Add credit card");
    }
    // An error does not hide the last known amount; the symbol tells of it.
    if (const auto& ledger = store.timeline.get()) {
        if (ledger->pendingHolds >= leastPending) {
            return u'$' + fmt(ledger->totalOwed, 0) + QStringLiteral(" + $") + fmt(ledger->pendingHolds, 0) +
                   QStringLiteral(" pend");
        }
        return u'$' + fmt(ledger->totalOwed, 2);
    }
    return store.lastError->has_value() ? QStringLiteral("Quillo") : QStringLiteral("Quillo…");
}

QString MenuBarLabel::shortText() const {
    return iconName() == normalSymbol ? shortAmount((*store.timeline)->totalOwed) : QString();
}

QString MenuBarLabel::fmt(double value, int decimals) {
    return NumberFormat::decimal(value, decimals);
}

} // namespace quillo
