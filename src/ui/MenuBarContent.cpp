#include "ui/MenuBarContent.h"

#include "core/UserCharacters.h"
#include "settings/IntervalPreset.h"
#include "store/BankLinks.h"
#include "ui/MenuBarLabel.h"

#include <algorithm>
#include <cmath>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

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

MenuEntry button(QString key, QString text, std::function<void()> action, QString help = {}) {
    return {.kind = Kind::button,
            .key = std::move(key),
            .text = std::move(text),
            .help = std::move(help),
            .action = std::move(action)};
}

QString amount(double dollars) {
    return MenuBarLabel::fmt(dollars, 2);
}

/// One line of the ledger: date, marker, signed amount, balance after it, description.
QString describe(const Transaction& transaction) {
    const auto marker = transaction.isSynthetic() ? u"⏳"_s : transaction.isPending() ? u"*"_s : u" "_s;
    const auto sign = transaction.amount >= 0 ? u"+"_s : u"−"_s;
    return transaction.date + u' ' + marker + u' ' + sign + u'$' + amount(std::abs(transaction.amount)) +
           u" → $"_s + amount(transaction.runningBalance) + u"  "_s +
           firstUserCharacters(transaction.display(), longestDescription);
}

void addSignInCondition(Menu& menu, const AppState& state) {
    if (state.auth.isSigningIn()) {
        menu.push_back(line(u"sign-in-waits"_s, u"Waiting for browser sign-in…"_s, Style::secondary));
    } else if (const auto& problem = state.authError) {
        menu.push_back(
            line(u"sign-in-problem"_s, u"Sign-in problem: "_s + *problem, Style::red, TextSize::caption));
    } else {
        return;
    }
    menu.push_back(divider(u"sign-in-end"_s));
}

void addBankLink(Menu& menu, const AppState& state, const MenuActions& actions) {
    const auto problem = attention(*state.links, panelOrder);
    if (!problem) {
        return;
    }
    const auto style = problem->trouble == Trouble::reconnect ? Style::red : Style::orange;
    menu.push_back(line(u"bank-link-message"_s, problem->message, style));
    if (problem->trouble == Trouble::outage) {
        menu.push_back(line(u"bank-outage-advice"_s, u"Reconnect won't help right now — wait for the bank."_s,
                            Style::secondary, TextSize::caption));
    } else {
        auto remedy =
            problem->trouble == Trouble::reconnect
                ? button(u"reconnect"_s, u"Reconnect bank…"_s, actions.openReconnect)
                : button(u"add-credit-card"_s, u"Re-run Link to add credit card…"_s, actions.openReconnect);
        remedy.shortcut = openLedgerKeys;
        menu.push_back(std::move(remedy));
    }
    menu.push_back(divider(u"bank-link-end"_s));
}

Menu recentTransactions(const std::vector<Transaction>& transactions) {
    const auto count = std::min(transactions.size(), mostRecentLines);
    Menu lines;
    lines.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
        lines.push_back(line(u"recent-%1"_s.arg(index), describe(transactions[index])));
    }
    return lines;
}

void addBalance(Menu& menu, const AppState& state) {
    if (!state.live) {
        return;
    }
    const auto& ledger = *state.live;
    if (ledger.pendingHolds >= MenuBarLabel::leastPending) {
        menu.push_back(line(u"total"_s, u"Total (posted + pending): $"_s + amount(ledger.totalWithPending)));
        menu.push_back(line(u"posted"_s, u"Posted: $"_s + amount(ledger.totalOwed)));
        menu.push_back(line(u"pending"_s, u"Pending authorizations: +$"_s + amount(ledger.pendingHolds)));
    } else {
        menu.push_back(line(u"owed"_s, u"Owed now: $"_s + amount(ledger.totalOwed)));
    }
    menu.push_back(line(u"available"_s, u"Available credit: $"_s + amount(ledger.available)));
    menu.push_back(divider(u"balance-end"_s));
    menu.push_back({.kind = Kind::submenu,
                    .key = u"recent"_s,
                    .text = u"Recent transactions (%1)"_s.arg(ledger.transactions.size()),
                    .children = recentTransactions(ledger.transactions)});
    menu.push_back(divider(u"recent-end"_s));
}

void addError(Menu& menu, const AppState& state) {
    if (const auto& error = state.error) {
        menu.push_back(line(u"error"_s, u"Error: "_s + *error, Style::red));
        menu.push_back(divider(u"error-end"_s));
    }
}

Menu intervals(const AppState& state, const MenuActions& actions) {
    Menu entries;
    for (const auto& preset : intervalPresets) {
        auto entry =
            button(u"interval-%1"_s.arg(preset.seconds), preset.label,
                   [choose = actions.setRefreshInterval, seconds = preset.seconds] { choose(seconds); });
        // No place for a mark otherwise: panels would draw an empty box there.
        entry.check =
            state.refreshInterval == preset.seconds ? MenuEntry::CheckState::on : MenuEntry::CheckState::none;
        entries.push_back(std::move(entry));
    }
    return entries;
}

void addActions(Menu& menu, const AppState& state, const MenuActions& actions) {
    auto openLedger = button(u"open-ledger"_s, u"Open ledger"_s, actions.openLedger);
    openLedger.shortcut = openLedgerKeys;
    menu.push_back(std::move(openLedger));
    menu.push_back(button(u"pull-updates"_s, u"Pull updates (Plaid cache)"_s, actions.pullUpdates,
                          u"Fast + free. Re-reads Plaid's own cache of your bank data. Use this first."_s));
    menu.push_back(
        button(u"pull-fresh"_s, u"Pull fresh from bank (slow, metered)"_s, actions.pullFromBank,
               u"Asks Plaid to re-pull from Wells Fargo right now. Async — ~30s–2min via webhook. "
               "Rate-limited, billed per call in production. Use when Plaid itself looks stale."_s));
    menu.push_back(button(u"link-card"_s, u"Link new card…"_s, actions.openLinkPage));
    menu.push_back(divider(u"actions-end"_s));
    menu.push_back({.kind = Kind::submenu,
                    .key = u"interval"_s,
                    .text = u"Refresh interval"_s,
                    .children = intervals(state, actions)});
    menu.push_back(button(u"help"_s, u"Help…"_s, actions.openHelp,
                          u"Ask the Quillo help desk. It can see your account and bank-link status, never "
                          "your balances; a person reads every transcript."_s));
    menu.push_back(button(u"settings"_s, u"Settings…"_s, actions.openSettings));
    menu.push_back(divider(u"settings-end"_s));
}

void addAccount(Menu& menu, const AppState& state, const MenuActions& actions) {
    if (state.auth.isSigningIn()) {
        menu.push_back(line(u"signing-in"_s, u"Signing in…"_s, Style::secondary));
    } else if (state.auth.isSignedIn()) {
        menu.push_back(line(u"account"_s, state.auth.email(), Style::secondary, TextSize::caption));
        menu.push_back(button(u"sign-out"_s, u"Sign Out"_s, actions.signOut));
    } else {
        menu.push_back(button(u"sign-in"_s, u"Sign In…"_s, actions.signIn));
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
    menu.push_back(divider(u"account-end"_s));
    menu.push_back(button(u"quit"_s, u"Quit Quillo"_s, actions.quit));
    return menu;
}

} // namespace quillo
