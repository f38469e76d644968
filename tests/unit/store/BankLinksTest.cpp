#include "store/BankLinks.h"

#include <QTest>

using namespace quillo;
using namespace Qt::Literals::StringLiterals;

namespace {

const auto noText = QString();
const auto area = BankOutage{.areas = {{.area = u"login"_s, .status = u"down"_s}}};

using Links = std::vector<ItemStatus>;

ItemStatus link(const std::optional<QString>& institution = {}) {
    return {.itemId = u"a"_s, .institution = institution};
}

ItemStatus stale(const std::optional<QString>& institution = {}, const std::optional<QString>& error = {}) {
    auto status = link(institution);
    status.needsUpdate = true;
    status.errorMessage = error;
    return status;
}

ItemStatus degraded(const std::optional<QString>& institution = {}, const std::optional<QString>& hint = {}) {
    auto status = link(institution);
    status.bankOutage = area;
    status.hint = hint;
    return status;
}

ItemStatus withoutCard(const std::optional<QString>& institution = {}) {
    auto status = link(institution);
    status.needsAddCredit = true;
    return status;
}

ItemStatus withEverything() {
    auto status = stale(u"First"_s);
    status.needsAddCredit = true;
    status.bankOutage = area;
    status.hint = u"h"_s;
    return status;
}

} // namespace

/// What the bank links ask of the user.
class BankLinksTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachMessageTellsOfTheFirstLinkConcerned_data() {
        QTest::addColumn<Links>("links");
        QTest::addColumn<QString>("reconnect");
        QTest::addColumn<QString>("outage");
        QTest::addColumn<QString>("addCredit");
        const auto row = [](const char* name, const Links& links, const QString& reconnect,
                            const QString& outage, const QString& addCredit) {
            QTest::newRow(name) << links << reconnect << outage << addCredit;
        };

        row("no links", {}, noText, noText, noText);
        row("a link that works", {link(u"First"_s)}, noText, noText, noText);
        row("reconnect, neither name nor error", {stale()},
            u"your bank needs re-authentication — OAuth consent expired."_s, noText, noText);
        row("reconnect, name and error", {stale(u"First"_s, u"the login changed"_s)},
            u"First needs re-authentication — the login changed."_s, noText, noText);
        row("reconnect, the error has a full stop", {stale({}, u"Sign in."_s)},
            u"your bank needs re-authentication — Sign in.."_s, noText, noText);
        row("reconnect, an empty error", {stale({}, u""_s)}, u"your bank needs re-authentication — ."_s,
            noText, noText);
        row("reconnect, an empty name", {stale(u""_s)},
            u" needs re-authentication — OAuth consent expired."_s, noText, noText);
        row("reconnect, two links", {link(u"Fine"_s), stale(u"Second"_s), stale(u"Third"_s)},
            u"Second needs re-authentication — OAuth consent expired."_s, noText, noText);
        row("outage, no name", {degraded()}, noText,
            u"Your bank is experiencing a service issue. Retry later."_s, noText);
        row("outage, name", {degraded(u"First"_s)}, noText,
            u"First is experiencing a service issue. Retry later."_s, noText);
        row("outage, an empty name", {degraded(u""_s)}, noText,
            u" is experiencing a service issue. Retry later."_s, noText);
        row("outage, a hint", {degraded(u"First"_s, u"Back at noon"_s)}, noText, u"Back at noon"_s, noText);
        row("outage, an empty hint", {degraded({}, u""_s)}, noText, u""_s, noText);
        row("outage, two links", {degraded(u"First"_s), degraded({}, u"Second"_s)}, noText,
            u"First is experiencing a service issue. Retry later."_s, noText);
        row("an outage without areas", {{.itemId = u"a"_s, .bankOutage = BankOutage{}, .hint = u"h"_s}},
            noText, noText, noText);
        row("add card, no name", {withoutCard()}, noText, noText,
            u"Your bank is connected but no credit card is linked. Re-run Link to add it."_s);
        row("add card, name", {withoutCard(u"First"_s)}, noText, noText,
            u"First is connected but no credit card is linked. Re-run Link to add it."_s);
        row("add card, an empty name", {withoutCard(u""_s)}, noText, noText,
            u" is connected but no credit card is linked. Re-run Link to add it."_s);
        row("no card but none asked for", {{.itemId = u"a"_s, .hasCreditAccount = false}}, noText, noText,
            noText);
        row("one link with everything", {withEverything()},
            u"First needs re-authentication — OAuth consent expired."_s, u"h"_s,
            u"First is connected but no credit card is linked. Re-run Link to add it."_s);
    }
    void eachMessageTellsOfTheFirstLinkConcerned() {
        QFETCH(Links, links);
        const std::array expected{std::pair(Trouble::reconnect, "reconnect"),
                                  std::pair(Trouble::outage, "outage"),
                                  std::pair(Trouble::addCard, "addCredit")};
        for (const auto& [trouble, column] : expected) {
            const auto message = troubleMessage(links, trouble);
            QTEST(message.value_or(noText), column);
            // An empty text is one, too.
            QCOMPARE(message.has_value(), !message.value_or(noText).isNull());
        }
    }

    void onlyTheFirstTroubleOfAnOrderIsToldOf_data() {
        QTest::addColumn<Links>("links");
        QTest::addColumn<std::optional<Trouble>>("inPanel");
        QTest::addColumn<std::optional<Trouble>>("inWindow");
        using Told = std::optional<Trouble>;
        const auto row = [](const char* name, const Links& links, Told inPanel, Told inWindow) {
            QTest::newRow(name) << links << inPanel << inWindow;
        };
        row("no links", {}, {}, {});
        row("a link that works", {link(u"First"_s)}, {}, {});
        row("outage", {degraded()}, Trouble::outage, Trouble::outage);
        row("reconnect", {stale()}, Trouble::reconnect, Trouble::reconnect);
        row("add card", {withoutCard()}, Trouble::addCard, Trouble::addCard);
        row("outage and reconnect", {stale(), degraded()}, Trouble::outage, Trouble::reconnect);
        row("outage and add card", {degraded(), withoutCard()}, Trouble::outage, Trouble::addCard);
        row("reconnect and add card", {withoutCard(), stale()}, Trouble::reconnect, Trouble::reconnect);
        row("all of different links", {withoutCard(), stale(), degraded()}, Trouble::outage,
            Trouble::reconnect);
        row("all of one link", {withEverything()}, Trouble::outage, Trouble::reconnect);
    }
    void onlyTheFirstTroubleOfAnOrderIsToldOf() {
        QFETCH(Links, links);
        for (const auto& [order, column] :
             {std::pair(panelOrder, "inPanel"), std::pair(windowOrder, "inWindow")}) {
            const auto told = attention(links, order);
            QTEST(told ? std::optional(told->trouble) : std::nullopt, column);
            if (told) {
                QCOMPARE(told->message, troubleMessage(links, told->trouble).value());
            }
        }
    }
};

QTEST_APPLESS_MAIN(BankLinksTest)
#include "BankLinksTest.moc"
