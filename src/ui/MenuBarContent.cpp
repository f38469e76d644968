#include "ui/MenuBarContent.h"

#include "core/UserCharacters.h"
#include "settings/IntervalPreset.h"
#include "store/BankLinks.h"
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

void addSignInCondition(Menu& menu, const AppState& state) {
    if (state.auth.isSigningIn()) {
        menu.push_back(line(QStringLiteral("sign-in-waits"), QStringLiteral("Waiting for browser sign-in…"),
                            Style::secondary));
    } else if (const auto& problem = state.authError) {
        menu.push_back(line(QStringLiteral("sign-in-problem"), QStringLiteral("Sign-in problem: ") + *problem,
                            Style::red, TextSize::caption));
    } else {
        return;
    }
    menu.push_back(divider(QStringLiteral("sign-in-end")));
}

void addBankLink(Menu& menu, const AppState& state, const MenuActions& actions) {
    const auto problem = attention(*state.links, panelOrder);
    if (!problem) {
        return;
    }
    const auto style = problem->trouble == Trouble::reconnect ? Style::red : Style::orange;
    menu.push_back(line(QStringLiteral("bank-link-message"), problem->message, style));
    if (problem->trouble == Trouble::outage) {
        menu.push_back(line(QStringLiteral("bank-outage-advice"),
                            QStringLiteral("Reconnect won't help right now — wait for the bank."),
                            Style::secondary, TextSize::caption));
    } else {
        auto remedy = problem->trouble == Trouble::reconnect
                          ? button(QStringLiteral("reconnect"), QStringLiteral("Reconnect bank…"),
                                   actions.openReconnect)
                          : button(QStringLiteral("add-credit-card"),
                                   QStringLiteral("Re-run Link to add credit card…"), actions.openReconnect);
        remedy.shortcut = openLedgerKeys;
        menu.push_back(std::move(remedy));
    }
    menu.push_back(divider(QStringLiteral("bank-link-end")));
}

Menu recentTransactions(const std::vector<Transaction>& transactions) {
    const auto count = std::min(transactions.size(), mostRecentLines);
    Menu lines;
    lines.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
        lines.push_back(line(QStringLiteral("recent-%1").arg(index), describe(transactions[index])));
    }
    return lines;
}

void addBalance(Menu& menu, const AppState& state) {
    if (!state.live) {
        return;
    }
    const auto& ledger = *state.live;
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
                    .children = recentTransactions(ledger.transactions)});
    menu.push_back(divider(QStringLiteral("recent-end")));
}

void addError(Menu& menu, const AppState& state) {
    if (const auto& error = state.error) {
        menu.push_back(line(QStringLiteral("error"), QStringLiteral("Error: ") + *error, Style::red));
        menu.push_back(divider(QStringLiteral("error-end")));
    }
}

Menu intervals(const AppState& state, const MenuActions& actions) {
    Menu entries;
    for (const auto& preset : intervalPresets) {
        auto entry =
            button(QStringLiteral("interval-%1").arg(preset.seconds), preset.label,
                   [choose = actions.setRefreshInterval, seconds = preset.seconds] { choose(seconds); });
        // No place for a mark otherwise: panels would draw an empty box there.
        entry.check =
            state.refreshInterval == preset.seconds ? MenuEntry::CheckState::on : MenuEntry::CheckState::none;
        entries.push_back(std::move(entry));
    }
    return entries;
}

void addActions(Menu& menu, const AppState& state, const MenuActions& actions) {
    auto openLedger =
        button(QStringLiteral("open-ledger"), QStringLiteral("Open ledger"), actions.openLedger);
    openLedger.shortcut = openLedgerKeys;
    menu.push_back(std::move(openLedger));

    auto pullUpdates = button(QStringLiteral("pull-updates"), QStringLiteral("Pull updates (Plaid cache)"),
                              actions.pullUpdates);
    pullUpdates.help =
        QStringLiteral("Fast + free. Re-reads Plaid's own cache of your bank data. Use this first.");
    menu.push_back(std::move(pullUpdates));

    auto pullFresh = button(QStringLiteral("pull-fresh"),
                            QStringLiteral("Pull fresh from bank (slow, metered)"), actions.pullFromBank);
    pullFresh.help =
        QStringLiteral("Asks Plaid to re-pull from Wells Fargo right now. Async — ~30s–2min via webhook. "
                       "Rate-limited, billed per call in production. Use when Plaid itself looks stale.");
    menu.push_back(std::move(pullFresh));

    menu.push_back(
        button(QStringLiteral("link-card"), QStringLiteral("Link new card…"), actions.openLinkPage));
    menu.push_back(divider(QStringLiteral("actions-end")));
    menu.push_back({.kind = Kind::submenu,
                    .key = QStringLiteral("interval"),
                    .text = QStringLiteral("Refresh interval"),
                    .children = intervals(state, actions)});

    auto help = button(QStringLiteral("help"), QStringLiteral("Help…"), actions.openHelp);
    help.help =
        QStringLiteral("Ask the Quillo help desk. It can see your account and bank-link status, never your "
                       "balances; a person reads every transcript.");
    menu.push_back(std::move(help));
    menu.push_back(button(QStringLiteral("settings"), QStringLiteral("Settings…"), actions.openSettings));
    menu.push_back(divider(QStringLiteral("settings-end")));
}

void addAccount(Menu& menu, const AppState& state, const MenuActions& actions) {
    if (state.auth.isSigningIn()) {
        menu.push_back(line(QStringLiteral("signing-in"), QStringLiteral("Signing in…"), Style::secondary));
    } else if (state.auth.isSignedIn()) {
        menu.push_back(
            line(QStringLiteral("account"), state.auth.email(), Style::secondary, TextSize::caption));
        menu.push_back(button(QStringLiteral("sign-out"), QStringLiteral("Sign Out"), actions.signOut));
    } else {
        menu.push_back(button(QStringLiteral("sign-in"), QStringLiteral("Sign In…"), actions.signIn));
    }
}

} // namespace

Menu menuBarContent(const AppState& state, const MenuActions& actions) {
    Menu menu;
    addSignInCondition(menu, state);
    addBankLink(menu, state, actions);
    addBalance(menu, state);
    addError(menu, state);
    addActions(menu, state, actions);
    addAccount(menu, state, actions);
    menu.push_back(divider(QStringLiteral("account-end")));
    menu.push_back(button(QStringLiteral("quit"), QStringLiteral("Quit Quillo"), actions.quit));
    return menu;
}

} // namespace quillo
