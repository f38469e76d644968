#include "ui/MenuBarContent.h"

#include "core/UserCharacters.h"
#include "settings/IntervalPreset.h"
#include "store/AppStore.h"
#include "ui/Environment.h"
#include "ui/MenuBarLabel.h"

#include <algorithm>
#include <cmath>

namespace quillo {

namespace {

using Kind = MenuEntry::Kind;
using Style = MenuEntry::Style;
using TextSize = MenuEntry::TextSize;

constexpr std::size_t mostRecentLines = 20;
constexpr qsizetype longestDescription = 28;

/// Command stands for Control on this desktop.
const QKeySequence openLedgerKeys(Qt::CTRL | Qt::SHIFT | Qt::Key_R);

MenuEntry divider(QString key) {
    return {.kind = Kind::divider, .key = std::move(key)};
}

MenuEntry line(QString key, QString text, Style style = Style::normal, TextSize size = TextSize::body) {
    return {.kind = Kind::text, .key = std::move(key), .text = std::move(text), .style = style, .size = size};
}

MenuEntry button(QString key, QString text, std::function<void()> action) {
    return {
        .kind = Kind::button, .key = std::move(key), .text = std::move(text), .action = std::move(action)};
}

QString amount(double dollars) {
    return MenuBarLabel::fmt(dollars, 2);
}

/// One line of the ledger: date, marker, signed amount, balance after it, description.
QString describe(const Transaction& transaction) {
    const auto marker = transaction.isSynthetic() ? QStringLiteral("⏳")
                        : transaction.isPending() ? QStringLiteral("*")
                                                  : QStringLiteral(" ");
    const auto sign = transaction.amount >= 0 ? QStringLiteral("+") : QStringLiteral("−");
    return transaction.date + u' ' + marker + u' ' + sign + u'$' + amount(std::abs(transaction.amount)) +
           QStringLiteral(" → $") + amount(transaction.runningBalance) + QStringLiteral("  ") +
           firstUserCharacters(transaction.display(), longestDescription);
}

} // namespace

MenuBarContent::MenuBarContent(MenuActions whatToDo)
    : store(Environment::store()), actions(std::move(whatToDo)) {}

Menu MenuBarContent::menu() const {
    Menu menu;
    addSignInCondition(menu);
    addBankLink(menu);
    addBalance(menu);
    addError(menu);
    addActions(menu);
    addAccount(menu);
    menu.push_back(divider(QStringLiteral("account-end")));
    menu.push_back(button(QStringLiteral("quit"), QStringLiteral("Quit Quillo"), actions.quit));
    return menu;
}

void MenuBarContent::addSignInCondition(Menu& menu) const {
    if (store.auth.state->isSigningIn()) {
        menu.push_back(line(QStringLiteral("sign-in-waits"), QStringLiteral("Waiting for browser sign-in…"),
                            Style::secondary));
    } else if (const auto& problem = store.auth.lastAuthError.get()) {
        menu.push_back(line(QStringLiteral("sign-in-problem"), QStringLiteral("Sign-in problem: ") + *problem,
                            Style::red, TextSize::caption));
    } else {
        return;
    }
    menu.push_back(divider(QStringLiteral("sign-in-end")));
}

void MenuBarContent::addBankLink(Menu& menu) const {
    const auto message = [&menu](const std::optional<QString>& text, Style style) {
        if (text) {
            menu.push_back(line(QStringLiteral("bank-link-message"), *text, style));
        }
    };
    const auto remedy = [&](QString key, QString text) {
        auto entry = button(std::move(key), std::move(text), [&shared = store] { shared.openReconnect(); });
        entry.shortcut = openLedgerKeys;
        menu.push_back(std::move(entry));
    };
    if (store.hasBankOutage()) {
        message(store.outageMessage(), Style::orange);
        menu.push_back(line(QStringLiteral("bank-outage-advice"),
                            QStringLiteral("Reconnect won't help right now — wait for the bank."),
                            Style::secondary, TextSize::caption));
    } else if (store.needsReconnect()) {
        message(store.reconnectMessage(), Style::red);
        remedy(QStringLiteral("reconnect"), QStringLiteral("Reconnect bank…"));
    } else if (store.needsAddCreditCard()) {
        message(store.addCreditMessage(), Style::orange);
        remedy(QStringLiteral("add-credit-card"), QStringLiteral("Re-run Link to add credit card…"));
    } else {
        return;
    }
    menu.push_back(divider(QStringLiteral("bank-link-end")));
}

void MenuBarContent::addBalance(Menu& menu) const {
    if (!store.timeline->has_value()) {
        return;
    }
    const auto& ledger = **store.timeline;
    if (ledger.pendingHolds >= MenuBarLabel::leastPending) {
        menu.push_back(line(QStringLiteral("total"),
                            QStringLiteral("Total (posted + pending): $") + amount(ledger.totalWithPending)));
        menu.push_back(
            line(QStringLiteral("posted"), QStringLiteral("Posted: $") + amount(ledger.totalOwed)));
        menu.push_back(line(QStringLiteral("pending"),
                            QStringLiteral("Pending authorizations: +$") + amount(ledger.pendingHolds)));
    } else {
        menu.push_back(
            line(QStringLiteral("owed"), QStringLiteral("Owed now: $") + amount(ledger.totalOwed)));
    }
    menu.push_back(
        line(QStringLiteral("available"), QStringLiteral("Available credit: $") + amount(ledger.available)));
    menu.push_back(divider(QStringLiteral("balance-end")));
    menu.push_back({.kind = Kind::submenu,
                    .key = QStringLiteral("recent"),
                    .text = QStringLiteral("Recent transactions (%1)").arg(ledger.transactions.size()),
                    .children = recentTransactions()});
    menu.push_back(divider(QStringLiteral("recent-end")));
}

Menu MenuBarContent::recentTransactions() const {
    const auto& transactions = (*store.timeline)->transactions;
    const auto count = std::min(transactions.size(), mostRecentLines);
    Menu lines;
    lines.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
        lines.push_back(line(QStringLiteral("recent-%1").arg(index), describe(transactions[index])));
    }
    return lines;
}

void MenuBarContent::addError(Menu& menu) const {
    if (const auto& error = store.lastError.get()) {
        menu.push_back(line(QStringLiteral("error"), QStringLiteral("Error: ") + *error, Style::red));
        menu.push_back(divider(QStringLiteral("error-end")));
    }
}

void MenuBarContent::addActions(Menu& menu) const {
    auto openLedger =
        button(QStringLiteral("open-ledger"), QStringLiteral("Open ledger"), actions.openLedger);
    openLedger.shortcut = openLedgerKeys;
    menu.push_back(std::move(openLedger));

    auto pullUpdates = button(QStringLiteral("pull-updates"), QStringLiteral("Pull updates (Plaid cache)"),
                              [&shared = store] { shared.start(shared.syncNow()); });
    pullUpdates.help =
        QStringLiteral("Fast + free. Re-reads Plaid's own cache of your bank data. Use this first.");
    menu.push_back(std::move(pullUpdates));

    auto pullFresh =
        button(QStringLiteral("pull-fresh"), QStringLiteral("Pull fresh from bank (slow, metered)"),
               [&shared = store] { shared.start(shared.refreshFromBank()); });
    pullFresh.help =
        QStringLiteral("Asks Plaid to re-pull from Wells Fargo right now. Async — ~30s–2min via webhook. "
                       "Rate-limited, billed per call in production. Use when Plaid itself looks stale.");
    menu.push_back(std::move(pullFresh));

    menu.push_back(button(QStringLiteral("link-card"), QStringLiteral("Link new card…"),
                          [&shared = store] { shared.openLinkPage(); }));
    menu.push_back(divider(QStringLiteral("actions-end")));
    menu.push_back({.kind = Kind::submenu,
                    .key = QStringLiteral("interval"),
                    .text = QStringLiteral("Refresh interval"),
                    .children = intervals()});

    auto help = button(QStringLiteral("help"), QStringLiteral("Help…"), actions.openHelp);
    help.help =
        QStringLiteral("Ask the Quillo help desk. It can see your account and bank-link status, never your "
                       "balances; a person reads every transcript.");
    menu.push_back(std::move(help));
    menu.push_back(button(QStringLiteral("settings"), QStringLiteral("Settings…"), actions.openSettings));
    menu.push_back(divider(QStringLiteral("settings-end")));
}

Menu MenuBarContent::intervals() const {
    Menu entries;
    for (const auto& preset : intervalPresets) {
        auto entry = button(
            QStringLiteral("interval-%1").arg(preset.seconds), preset.label,
            [&shared = store, seconds = preset.seconds] { shared.settings.refreshInterval = seconds; });
        // No place for a mark otherwise: panels would draw an empty box there.
        entry.check = store.settings.refreshInterval == preset.seconds ? MenuEntry::CheckState::on
                                                                       : MenuEntry::CheckState::none;
        entries.push_back(std::move(entry));
    }
    return entries;
}

void MenuBarContent::addAccount(Menu& menu) const {
    const auto& state = store.auth.state.get();
    if (state.isSigningIn()) {
        menu.push_back(line(QStringLiteral("signing-in"), QStringLiteral("Signing in…"), Style::secondary));
    } else if (state.isSignedIn()) {
        menu.push_back(line(QStringLiteral("account"), state.email(), Style::secondary, TextSize::caption));
        menu.push_back(button(QStringLiteral("sign-out"), QStringLiteral("Sign Out"),
                              [&shared = store] { shared.auth.signOut(); }));
    } else {
        menu.push_back(button(QStringLiteral("sign-in"), QStringLiteral("Sign In…"),
                              [&shared = store] { shared.auth.signIn(); }));
    }
}

} // namespace quillo
