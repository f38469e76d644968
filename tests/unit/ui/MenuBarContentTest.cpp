#include "ui/MenuBarContent.h"

#include "platform/tray/MenuTree.h"
#include "ui/MenuLines.h"

#include <QRegularExpression>
#include <QTest>

#include <optional>
#include <vector>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// What has been asked for, in its order.
QStringList called;

std::function<void()> note(const QString& name) {
    return [name] { called += name; };
}

const MenuActions actions{
    .openLedger = note(u"ledger"_s),
    .refresh = note(u"refresh"_s),
    .pullUpdates = note(u"pull updates"_s),
    .pullFromBank = note(u"pull from bank"_s),
    .openLinkPage = note(u"link page"_s),
    .openReconnect = note(u"reconnect"_s),
    .setRefreshInterval = [](qint64 seconds) { called += QString::number(seconds); },
    .openHelp = note(u"help"_s),
    .openSettings = note(u"settings"_s),
    .signIn = note(u"sign in"_s),
    .signOut = note(u"sign out"_s),
    .quit = note(u"quit"_s),
};

/// Nothing to show yet, and nobody signed in.
AppState nothing() {
    return {.refreshInterval = 300};
}

Menu menu(const AppState& state) {
    return menuBarContent(state, actions);
}

QStringList lines(const AppState& state) {
    return menuLines(menu(state));
}

/// The menu's lines up to "Open ledger", without the dividers between the blocks.
QStringList head(const AppState& state) {
    auto all = lines(state);
    all = all.first(all.indexOf(u"[Open ledger] Ctrl+Shift+R"_s));
    all.removeAll(u"---"_s);
    return all;
}

/// The lines of the submenu of recent transactions.
QStringList recent(const AppState& state) {
    for (const auto& entry : menu(state)) {
        if (entry.key == u"recent") {
            return menuLines(entry.children);
        }
    }
    return {};
}

QString keyOf(const AppState& state, const QString& text) {
    const auto shown = menu(state);
    const auto* entry = findEntry(shown, text);
    return entry ? entry->key : QString();
}

Timeline ledger(double pendingHolds = 0, std::vector<Transaction> transactions = {}) {
    return {.totalOwed = 1234.5,
            .pendingHolds = pendingHolds,
            .totalWithPending = 2345.675,
            .creditLimit = 5000,
            .available = 3765.5,
            .asOf = u"2024-05-02"_s,
            .transactions = std::move(transactions)};
}

AppState showing(Timeline ledger) {
    auto state = nothing();
    state.live = std::make_shared<Timeline>(std::move(ledger));
    return state;
}

AppState linkedBy(std::vector<ItemStatus> links) {
    auto state = nothing();
    state.links = std::move(links);
    return state;
}

AppState signedIn() {
    auto state = nothing();
    state.auth = AuthState::signedIn(u"robin@quillo.example"_s);
    return state;
}

Transaction charge(double amount, const QString& merchant) {
    return {.date = u"2024-05-01"_s, .amount = amount, .merchant = merchant, .runningBalance = 1234.5};
}

ItemStatus link(const QString& institution) {
    return {.itemId = u"item-1"_s, .institution = institution};
}

ItemStatus outage(const std::optional<QString>& hint = {}) {
    auto status = link(u"First Bank"_s);
    status.bankOutage = BankOutage{.areas = {{.area = u"balances"_s, .status = u"DEGRADED"_s}}};
    status.hint = hint;
    return status;
}

ItemStatus stale() {
    auto status = link(u"First Bank"_s);
    status.needsUpdate = true;
    return status;
}

ItemStatus withoutCard() {
    auto status = link(u"First Bank"_s);
    status.needsAddCredit = true;
    return status;
}

/// What every menu has from "Open ledger" on, as a user sees it who is signed out.
const QStringList actionLines{
    u"[Open ledger] Ctrl+Shift+R"_s,
    u"[Pull updates (Plaid cache)]"_s,
    u"[Pull fresh from bank (slow, metered)]"_s,
    u"[Link new card…]"_s,
    u"---"_s,
    u"Refresh interval >"_s,
    u"> [1 minute]"_s,
    u"> [5 minutes] on"_s,
    u"> [15 minutes]"_s,
    u"> [1 hour]"_s,
    u"> [6 hours]"_s,
    u"> [24 hours]"_s,
    u"> [Manual only]"_s,
    u"[Help…]"_s,
    u"[Settings…]"_s,
    u"---"_s,
};

} // namespace

class MenuBarContentTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { called.clear(); }

    void beforeAnythingIsKnownThereAreTheActions() {
        QCOMPARE(lines(nothing()),
                 actionLines + QStringList({u"[Sign In…]"_s, u"---"_s, u"[Quit Quillo]"_s}));
    }

    void everyBlockStandsInItsPlace() {
        auto state = signedIn();
        state.authError = u"Sign-in rejected (state mismatch)"_s;
        state.links = std::vector{stale()};
        state.error = u"HTTP 500"_s;
        state.live = std::make_shared<Timeline>(ledger(87.5, {charge(12.5, u"Café"_s)}));
        QCOMPARE(lines(state), QStringList({
                                   u"Sign-in problem: Sign-in rejected (state mismatch) {red caption}"_s,
                                   u"---"_s,
                                   u"First Bank needs re-authentication — OAuth consent expired. {red}"_s,
                                   u"[Reconnect bank…] Ctrl+Shift+R"_s,
                                   u"---"_s,
                                   u"Total (posted + pending): $2,345.68"_s,
                                   u"Posted: $1,234.50"_s,
                                   u"Pending authorizations: +$87.50"_s,
                                   u"Available credit: $3,765.50"_s,
                                   u"---"_s,
                                   u"Recent transactions (1) >"_s,
                                   u"> 2024-05-01   +$12.50 → $1,234.50  Café"_s,
                                   u"---"_s,
                                   u"Error: HTTP 500 {red}"_s,
                                   u"---"_s,
                               }) + actionLines +
                                   QStringList({u"robin@quillo.example {secondary caption}"_s,
                                                u"[Sign Out]"_s, u"---"_s, u"[Quit Quillo]"_s}));
    }

    void signInIsShownAtBothEnds() {
        auto state = nothing();
        // What an earlier sign-in left is not shown meanwhile.
        state.authError = u"Sign-in callback was malformed"_s;
        state.auth = AuthState::signingIn();
        QCOMPARE(lines(state), QStringList({u"Waiting for browser sign-in… {secondary}"_s, u"---"_s}) +
                                   actionLines +
                                   QStringList({u"Signing in… {secondary}"_s, u"---"_s, u"[Quit Quillo]"_s}));
    }

    void aSignInProblemIsShownWhenSignedOut() {
        auto state = nothing();
        state.authError = u"Session expired"_s;
        QCOMPARE(lines(state).first(2),
                 QStringList({u"Sign-in problem: Session expired {red caption}"_s, u"---"_s}));
    }

    void bankLinksAskForOneThingAtATime_data() {
        QTest::addColumn<QList<ItemStatus>>("links");
        QTest::addColumn<QStringList>("expected");
        const QStringList outageLines{
            u"First Bank is experiencing a service issue. Retry later. {orange}"_s,
            u"Reconnect won't help right now — wait for the bank. {secondary caption}"_s};
        const QStringList reconnectLines{
            u"First Bank needs re-authentication — OAuth consent expired. {red}"_s,
            u"[Reconnect bank…] Ctrl+Shift+R"_s};
        const QStringList addCardLines{
            u"First Bank is connected but no credit card is linked. Re-run Link to add it. {orange}"_s,
            u"[Re-run Link to add credit card…] Ctrl+Shift+R"_s};
        QTest::newRow("no link") << QList<ItemStatus>{} << QStringList{};
        QTest::newRow("a sound link") << QList{link(u"First Bank"_s)} << QStringList{};
        QTest::newRow("outage") << QList{outage()} << outageLines;
        QTest::newRow("outage with a hint")
            << QList{outage(u"Back at noon."_s)} << QStringList{u"Back at noon. {orange}"_s, outageLines[1]};
        QTest::newRow("reconnect") << QList{stale()} << reconnectLines;
        QTest::newRow("add a card") << QList{withoutCard()} << addCardLines;
        QTest::newRow("outage and reconnect") << QList{stale(), outage()} << outageLines;
        QTest::newRow("reconnect and add a card") << QList{withoutCard(), stale()} << reconnectLines;
        QTest::newRow("all three") << QList{withoutCard(), stale(), outage()} << outageLines;
    }
    void bankLinksAskForOneThingAtATime() {
        QFETCH(QList<ItemStatus>, links);
        const auto state = linkedBy({links.begin(), links.end()});
        QTEST(head(state), "expected");
        // Something is set apart by a divider, nothing is not.
        QCOMPARE(lines(state).count(u"---"_s), head(state).isEmpty() ? 3 : 4);
    }

    void pendingHoldsFromACentOnAreToldApart_data() {
        QTest::addColumn<double>("pendingHolds");
        QTest::addColumn<QStringList>("expected");
        const QStringList together{u"Owed now: $1,234.50"_s};
        const auto apart = [](const QString& holds) {
            return QStringList{u"Total (posted + pending): $2,345.68"_s, u"Posted: $1,234.50"_s,
                               u"Pending authorizations: +$"_s + holds};
        };
        QTest::newRow("none") << 0.0 << together;
        QTest::newRow("less than a cent") << 0.009 << together;
        QTest::newRow("just below") << 0.0099999 << together;
        QTest::newRow("negative") << -5.0 << together;
        QTest::newRow("a cent") << 0.01 << apart(u"0.01"_s);
        QTest::newRow("more") << 1087.5 << apart(u"1,087.50"_s);
    }
    void pendingHoldsFromACentOnAreToldApart() {
        QFETCH(double, pendingHolds);
        QFETCH(QStringList, expected);
        QCOMPARE(head(showing(ledger(pendingHolds))),
                 expected + QStringList({u"Available credit: $3,765.50"_s, u"Recent transactions (0) >"_s}));
    }

    void aMinusSignComesAfterTheDollar() {
        auto credit = ledger();
        credit.totalOwed = -12.3;
        credit.available = -0.5;
        QCOMPARE(head(showing(credit)).first(2),
                 QStringList({u"Owed now: $-12.30"_s, u"Available credit: $-0.50"_s}));
    }

    void theFirstTwentyTransactionsAreListed_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("listed");
        QTest::newRow("none") << 0 << u"Recent transactions (0) >"_s << 0;
        QTest::newRow("one") << 1 << u"Recent transactions (1) >"_s << 1;
        QTest::newRow("nineteen") << 19 << u"Recent transactions (19) >"_s << 19;
        QTest::newRow("twenty") << 20 << u"Recent transactions (20) >"_s << 20;
        QTest::newRow("twenty-one") << 21 << u"Recent transactions (21) >"_s << 20;
        QTest::newRow("fifty-seven") << 57 << u"Recent transactions (57) >"_s << 20;
        QTest::newRow("no grouping") << 12'345 << u"Recent transactions (12345) >"_s << 20;
    }
    void theFirstTwentyTransactionsAreListed() {
        QFETCH(int, count);
        QFETCH(QString, title);
        QFETCH(int, listed);
        std::vector<Transaction> transactions;
        for (int index = 0; index < count; ++index) {
            // Not in the order of any of their values.
            transactions.push_back(charge((index * 7) % 5, u"m%1"_s.arg(index)));
        }
        const auto state = showing(ledger(0, std::move(transactions)));
        QVERIFY(head(state).contains(title));
        const auto shown = recent(state);
        QCOMPARE(shown.size(), listed);
        for (int index = 0; index < listed; ++index) {
            QVERIFY(shown[index].endsWith(u"  m%1"_s.arg(index)));
        }
    }

    void aTransactionIsDescribedInOneLine_data() {
        QTest::addColumn<Transaction>("transaction");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const Transaction& transaction, const QString& expected) {
            QTest::newRow(name) << transaction << expected;
        };
        auto base = charge(12.5, u"ACME"_s);
        row("posted charge", base, u"2024-05-01   +$12.50 → $1,234.50  ACME"_s);
        base.amount = -12.5;
        row("payment", base, u"2024-05-01   −$12.50 → $1,234.50  ACME"_s);
        base.amount = 0;
        row("nothing", base, u"2024-05-01   +$0.00 → $1,234.50  ACME"_s);
        base.amount = -0.0;
        row("negative nothing", base, u"2024-05-01   +$0.00 → $1,234.50  ACME"_s);
        base.amount = 1'234'567.895;
        row("grouped", base, u"2024-05-01   +$1,234,567.90 → $1,234.50  ACME"_s);
        base.amount = 12.5;
        base.runningBalance = -3.2;
        row("negative balance", base, u"2024-05-01   +$12.50 → $-3.20  ACME"_s);
        base.runningBalance = 0;
        base.pending = 1;
        row("pending", base, u"2024-05-01 * +$12.50 → $0.00  ACME"_s);
        base.pending = 2;
        row("pending by another number", base, u"2024-05-01 * +$12.50 → $0.00  ACME"_s);
        base.synthetic = true;
        row("synthetic before pending", base, u"2024-05-01 ⏳ +$12.50 → $0.00  ACME"_s);
        base.pending = 0;
        row("synthetic", base, u"2024-05-01 ⏳ +$12.50 → $0.00  ACME"_s);
        base.synthetic = false;
        row("neither", base, u"2024-05-01   +$12.50 → $0.00  ACME"_s);
        base.merchant = {};
        base.name = u"ACME STORE 12"_s;
        row("by name", base, u"2024-05-01   +$12.50 → $0.00  ACME STORE 12"_s);
        base.merchant = u""_s;
        row("empty merchant", base, u"2024-05-01   +$12.50 → $0.00  "_s);
        base.merchant = {};
        base.name = {};
        row("by neither", base, u"2024-05-01   +$12.50 → $0.00  charge"_s);
        base.date = u"yesterday"_s;
        row("date as sent", base, u"yesterday   +$12.50 → $0.00  charge"_s);
    }
    void aTransactionIsDescribedInOneLine() {
        QFETCH(Transaction, transaction);
        QTEST(recent(showing(ledger(0, {transaction}))).value(0), "expected");
    }

    void aDescriptionIsCutAfter28Characters_data() {
        QTest::addColumn<QString>("character");
        QTest::newRow("letters") << u"x"_s;
        QTest::newRow("accent of its own") << u"e\u0301"_s;
        QTest::newRow("two marks on a letter") << u"a\u0323\u0302"_s;
        QTest::newRow("emoji") << u"😀"_s;
        QTest::newRow("emoji with a skin tone") << u"👍🏽"_s;
        QTest::newRow("flag") << u"🇩🇪"_s;
        QTest::newRow("flag of a region") << u"🏴󠁧󠁢󠁳󠁣󠁴󠁿"_s;
        QTest::newRow("family") << u"👨‍👩‍👧‍👦"_s;
        QTest::newRow("keycap") << u"1\uFE0F\u20E3"_s;
        QTest::newRow("Hangul syllable") << u"한"_s;
        QTest::newRow("Hangul jamo") << u"\u1112\u1161\u11ab"_s;
        QTest::newRow("Thai") << u"กำ"_s;
        QTest::newRow("Thai with a tone mark") << u"นี้"_s;
        QTest::newRow("Devanagari") << u"नि"_s;
    }
    void aDescriptionIsCutAfter28Characters() {
        QFETCH(QString, character);
        const auto line = [&](int count) {
            return recent(showing(ledger(0, {charge(1, character.repeated(count))}))).value(0);
        };
        const auto whole = u"2024-05-01   +$1.00 → $1,234.50  "_s + character.repeated(28);
        QCOMPARE(line(27), whole.chopped(character.size()));
        QCOMPARE(line(28), whole);
        QCOMPARE(line(29), whole);
        QCOMPARE(line(40), whole);
    }

    void whateverAMerchantIsCalledItStaysOnePlainLineOnTheBus_data() {
        QTest::addColumn<QString>("merchant");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char* name, const QString& merchant, const QString& shown) {
            QTest::newRow(name) << merchant << shown;
        };
        row("markup", u"<b>A</b><img src=x>"_s, u"<b>A</b><img src=x>"_s);
        row("entities", u"A&amp;B &lt;"_s, u"A&amp;B &lt;"_s);
        row("mnemonics", u"_A_ &B"_s, u"__A__ &B"_s);
        row("line breaks", u"A\r\nB\nC\u2028D"_s, u"A  B C D"_s);
        row("tab", u"A\tB"_s, u"A B"_s);
        row("terminal escapes", u"\x1b[31mA\x7"_s, u" [31mA "_s);
        row("NUL", u"A"_s + QChar(u'\0') + u"B"_s, u"A B"_s);
        row("direction overrides", u"\u202EA\u2066B\u2069\u202C"_s, u"AB"_s);
        row("right to left", u"\u05E9\u05DC\u05D5\u05DD"_s, u"\u05E9\u05DC\u05D5\u05DD"_s);
    }
    void whateverAMerchantIsCalledItStaysOnePlainLineOnTheBus() {
        QFETCH(QString, merchant);
        QFETCH(QString, shown);
        QCOMPARE(recentOnTheBus(menu(showing(ledger(0, {charge(1, merchant)})))),
                 u"2024-05-01   +$1.00 → $1,234.50  "_s + shown);
    }

    void tenThousandCharactersAreCut_data() {
        QTest::addColumn<QString>("merchant");
        QTest::newRow("letters") << QString(10'000, u'x');
        QTest::newRow("marks on one letter") << u'x' + QString(10'000, QChar(0x0301));
        QTest::newRow("joined emoji") << u"👩\u200D"_s.repeated(3'000);
        QTest::newRow("direction overrides") << QString(10'000, QChar(0x202E));
    }
    void tenThousandCharactersAreCut() {
        QFETCH(QString, merchant);
        auto state = showing(ledger(0, {charge(1, merchant)}));
        state.error = merchant;
        QVERIFY(recentOnTheBus(menu(state)).size() <= 501);
        MenuTree tree;
        tree.replace(menu(state));
        for (const auto& item : tree.properties({}, {})) {
            QVERIFY(item.properties.value(u"label"_s).toString().size() <= 501);
        }
    }

    void theIntervalInUseIsChecked_data() {
        QTest::addColumn<qint64>("interval");
        QTest::addColumn<QString>("checked");
        QTest::newRow("a minute") << qint64(60) << u"> [1 minute] on"_s;
        QTest::newRow("an hour") << qint64(3600) << u"> [1 hour] on"_s;
        QTest::newRow("a day") << qint64(86400) << u"> [24 hours] on"_s;
        QTest::newRow("by hand") << qint64(0) << u"> [Manual only] on"_s;
        QTest::newRow("none of them") << qint64(301) << QString();
        QTest::newRow("negative") << qint64(-1) << QString();
    }
    void theIntervalInUseIsChecked() {
        QFETCH(qint64, interval);
        const auto checked = lines({.refreshInterval = interval}).filter(QRegularExpression(u"\\] on$"_s));
        QVERIFY(checked.size() <= 1);
        QTEST(checked.value(0), "checked");
    }

    void choosingAnEntryAsksForWhatItSays_data() {
        QTest::addColumn<AppState>("state");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("asked");
        const auto row = [](const AppState& state, const QString& entry, const QString& asked) {
            QTest::newRow(qPrintable(entry)) << state << entry << asked;
        };
        row(nothing(), u"Open ledger"_s, u"ledger"_s);
        row(nothing(), u"Pull updates (Plaid cache)"_s, u"pull updates"_s);
        row(nothing(), u"Pull fresh from bank (slow, metered)"_s, u"pull from bank"_s);
        row(nothing(), u"Link new card…"_s, u"link page"_s);
        row(linkedBy({stale()}), u"Reconnect bank…"_s, u"reconnect"_s);
        row(linkedBy({withoutCard()}), u"Re-run Link to add credit card…"_s, u"reconnect"_s);
        row(nothing(), u"1 minute"_s, u"60"_s);
        row(nothing(), u"5 minutes"_s, u"300"_s);
        row(nothing(), u"15 minutes"_s, u"900"_s);
        row(nothing(), u"1 hour"_s, u"3600"_s);
        row(nothing(), u"6 hours"_s, u"21600"_s);
        row(nothing(), u"24 hours"_s, u"86400"_s);
        row(nothing(), u"Manual only"_s, u"0"_s);
        row(nothing(), u"Help…"_s, u"help"_s);
        row(nothing(), u"Settings…"_s, u"settings"_s);
        row(nothing(), u"Sign In…"_s, u"sign in"_s);
        row(signedIn(), u"Sign Out"_s, u"sign out"_s);
        row(nothing(), u"Quit Quillo"_s, u"quit"_s);
    }
    void choosingAnEntryAsksForWhatItSays() {
        QFETCH(AppState, state);
        QFETCH(QString, entry);
        QFETCH(QString, asked);
        const auto shown = menu(state);
        const auto* found = findEntry(shown, entry);
        QVERIFY(found);
        QVERIFY(found->kind == MenuEntry::Kind::button);
        found->action();
        QCOMPARE(called, QStringList{asked});
    }

    void helpTextsExplainWhatIsNotPlain() {
        QStringList helps;
        for (const auto& entry : menu(nothing())) {
            if (!entry.help.isEmpty()) {
                helps += entry.text + u": "_s + entry.help;
            }
        }
        QCOMPARE(helps,
                 QStringList(
                     {u"Pull updates (Plaid cache): Fast + free. Re-reads Plaid's own cache of your bank "
                      "data. Use this first."_s,
                      u"Pull fresh from bank (slow, metered): Asks Plaid to re-pull from Wells Fargo right "
                      "now. Async — ~30s–2min via webhook. Rate-limited, billed per call in production. Use "
                      "when Plaid itself looks stale."_s,
                      u"Help…: Ask the Quillo help desk. It can see your account and bank-link status, "
                      "never your balances; a person reads every transcript."_s}));
    }

    void entriesWithAnotherMeaningHaveAnotherKey() {
        const auto reconnect = keyOf(linkedBy({stale()}), u"Reconnect bank…"_s);
        const auto addCard = keyOf(linkedBy({withoutCard()}), u"Re-run Link to add credit card…"_s);
        QVERIFY(!reconnect.isEmpty() && !addCard.isEmpty());
        QVERIFY(reconnect != addCard);
        const auto signIn = keyOf(nothing(), u"Sign In…"_s);
        const auto signOut = keyOf(signedIn(), u"Sign Out"_s);
        QVERIFY(!signIn.isEmpty() && !signOut.isEmpty());
        QVERIFY(signIn != signOut);
    }

    void keysOfSiblingsAreDistinctSoThatARebuiltMenuKeepsItsEntries() {
        auto state = signedIn();
        state.authError = u"x"_s;
        state.links = std::vector{stale()};
        state.error = u"x"_s;
        state.live = std::make_shared<Timeline>(ledger(5, std::vector(30, charge(1, u"m"_s))));
        QVERIFY(keysAreDistinct(menu(state)));
    }

private:
    /// The first line of the recent transactions as panels get it.
    static QString recentOnTheBus(const Menu& menu) {
        MenuTree tree;
        tree.replace(menu);
        const auto layout = tree.layout(MenuTree::root, -1, {});
        for (const auto& entry : layout->children) {
            if (!entry.children.isEmpty()) {
                return entry.children.first().properties.value(u"label"_s).toString();
            }
        }
        return {};
    }

    static bool keysAreDistinct(const Menu& menu) {
        QSet<QString> keys;
        for (const auto& entry : menu) {
            keys.insert(entry.key);
            if (!keysAreDistinct(entry.children)) {
                return false;
            }
        }
        return keys.size() == static_cast<qsizetype>(menu.size());
    }
};

QTEST_APPLESS_MAIN(MenuBarContentTest)
#include "MenuBarContentTest.moc"
