#include "platform/tray/MenuTree.h"
#include "support/TestMain.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

namespace {

MenuEntry line(const QString& key, const QString& text) {
    return {.key = key, .text = text};
}

MenuEntry button(const QString& key, const QString& text, std::function<void()> action = {}) {
    return {.kind = MenuEntry::Kind::button, .key = key, .text = text, .action = std::move(action)};
}

MenuEntry divider(const QString& key) {
    return {.kind = MenuEntry::Kind::divider, .key = key};
}

MenuEntry submenu(const QString& key, const QString& text, Menu children) {
    return {.kind = MenuEntry::Kind::submenu, .key = key, .text = text, .children = std::move(children)};
}

Menu sample() {
    return {line(u"owed"_s, u"Owed now: $12.50"_s), divider(u"1"_s),
            submenu(u"recent"_s, u"Recent"_s, {line(u"a"_s, u"A"_s), line(u"b"_s, u"B"_s)}),
            button(u"quit"_s, u"Quit"_s)};
}

QList<int> ids(const dbus::MenuLayout& parent) {
    QList<int> all;
    for (const auto& child : parent.children) {
        all.append(child.id);
    }
    return all;
}

dbus::MenuLayout layoutOf(const MenuTree& tree, int id = MenuTree::root) {
    return tree.layout(id, -1, {}).value_or(dbus::MenuLayout{-1});
}

bool isEmpty(const MenuTree::Change& change) {
    return change.updated.isEmpty() && change.removed.isEmpty() && !change.layoutParent;
}

QVariantMap propertiesOf(const MenuEntry& entry) {
    MenuTree tree;
    tree.replace({entry});
    return layoutOf(tree).children.value(0).properties;
}

} // namespace

class MenuTreeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyKindOfEntryHasItsProperties() {
        QCOMPARE(propertiesOf(line(u"k"_s, u"a_b & c"_s)),
                 (QVariantMap{{u"label"_s, u"a__b & c"_s}, {u"enabled"_s, false}}));
        QCOMPARE(propertiesOf(button(u"k"_s, u"Quit"_s)), (QVariantMap{{u"label"_s, u"Quit"_s}}));
        QCOMPARE(propertiesOf(divider(u"k"_s)), (QVariantMap{{u"type"_s, u"separator"_s}}));
        QCOMPARE(propertiesOf(submenu(u"k"_s, u"Empty (0)"_s, {})),
                 (QVariantMap{{u"label"_s, u"Empty (0)"_s}, {u"children-display"_s, u"submenu"_s}}));
    }

    void aChoiceHasAPlaceForItsCheckMark() {
        auto entry = button(u"300"_s, u"5 minutes"_s);
        QVERIFY(!propertiesOf(entry).contains(u"toggle-type"_s));
        entry.check = MenuEntry::CheckState::off;
        QCOMPARE(propertiesOf(entry).value(u"toggle-type"_s), u"checkmark"_s);
        QCOMPARE(propertiesOf(entry).value(u"toggle-state"_s), 0);
        entry.check = MenuEntry::CheckState::on;
        QCOMPARE(propertiesOf(entry).value(u"toggle-type"_s), u"checkmark"_s);
        QCOMPARE(propertiesOf(entry).value(u"toggle-state"_s), 1);
    }

    void aShortcutIsItsKeysInThePanelsWords() {
        auto entry = button(u"open"_s, u"Open ledger"_s);
        entry.shortcut = QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R);
        QCOMPARE(propertiesOf(entry).value(u"shortcut"_s).value<dbus::Shortcut>(),
                 (dbus::Shortcut{{u"Control"_s, u"Shift"_s, u"R"_s}}));
        entry.shortcut = QKeySequence(Qt::ALT | Qt::META | Qt::Key_F5);
        QCOMPARE(propertiesOf(entry).value(u"shortcut"_s).value<dbus::Shortcut>(),
                 (dbus::Shortcut{{u"Super"_s, u"Alt"_s, u"F5"_s}}));
    }

    void helpFollowsTheTextForAssistiveTechnologies() {
        auto entry = button(u"pull"_s, u"Pull updates"_s);
        entry.help = u"Fast + free."_s;
        QCOMPARE(propertiesOf(entry).value(u"accessible-desc"_s), u"Pull updates. Fast + free."_s);
    }

    void coloursAreDispositions() {
        auto entry = line(u"error"_s, u"Error"_s);
        QVERIFY(!propertiesOf(entry).contains(u"disposition"_s));
        entry.style = MenuEntry::Style::red;
        QCOMPARE(propertiesOf(entry).value(u"disposition"_s), u"alert"_s);
        entry.style = MenuEntry::Style::orange;
        QCOMPARE(propertiesOf(entry).value(u"disposition"_s), u"warning"_s);
        entry.style = MenuEntry::Style::secondary;
        QCOMPARE(propertiesOf(entry).value(u"disposition"_s), u"informative"_s);
    }

    void anUnchangedMenuIsNoChange() {
        MenuTree tree;
        tree.replace(sample());
        const auto revision = tree.revision();
        const auto before = ids(layoutOf(tree));
        QVERIFY(isEmpty(tree.replace(sample())));
        QCOMPARE(tree.revision(), revision);
        QCOMPARE(ids(layoutOf(tree)), before);
    }

    void aChangedTextIsAPropertyOfTheSameEntry() {
        MenuTree tree;
        tree.replace(sample());
        const auto revision = tree.revision();
        auto menu = sample();
        menu[2].children[1].text = u"B, but later"_s;
        const auto change = tree.replace(menu);
        QCOMPARE(change.updated.size(), 1);
        QCOMPARE(change.updated[0].id, layoutOf(tree).children[2].children[1].id);
        QCOMPARE(change.updated[0].properties, (QVariantMap{{u"label"_s, u"B, but later"_s}}));
        QVERIFY(change.removed.isEmpty());
        QVERIFY(!change.layoutParent);
        QCOMPARE(tree.revision(), revision);
    }

    void aPropertyThatGoesBackToItsDefaultIsNamed() {
        MenuTree tree;
        auto menu = sample();
        menu[0].style = MenuEntry::Style::red;
        tree.replace(menu);
        const auto change = tree.replace(sample());
        QVERIFY(change.updated.isEmpty());
        QCOMPARE(change.removed.size(), 1);
        QCOMPARE(change.removed[0].id, layoutOf(tree).children[0].id);
        QCOMPARE(change.removed[0].names, QStringList{u"disposition"_s});
    }

    void anEntryThatComesChangesOnlyTheLayoutOfItsParent() {
        MenuTree tree;
        tree.replace(sample());
        const auto before = layoutOf(tree);
        auto menu = sample();
        menu[2].children.insert(menu[2].children.begin(), line(u"new"_s, u"New"_s));
        const auto change = tree.replace(menu);
        const auto after = layoutOf(tree);
        QCOMPARE(change.layoutParent, std::optional(before.children[2].id));
        QVERIFY(change.updated.isEmpty());
        QCOMPARE(ids(after), ids(before));
        QCOMPARE(ids(after.children[2]).sliced(1), ids(before.children[2]));
        QVERIFY(!ids(before.children[2]).contains(after.children[2].children[0].id));
    }

    void changesInTwoPlacesAreOneOfTheWholeMenu() {
        MenuTree tree;
        tree.replace(sample());
        const auto revision = tree.revision();
        auto menu = sample();
        menu[2].children.clear();
        menu.pop_back();
        QCOMPARE(tree.replace(menu).layoutParent, std::optional(MenuTree::root));
        QCOMPARE(tree.revision(), revision + 1);
    }

    void movedEntriesKeepTheirIds() {
        MenuTree tree;
        tree.replace({line(u"a"_s, u"A"_s), line(u"b"_s, u"B"_s), line(u"c"_s, u"C"_s)});
        const auto before = ids(layoutOf(tree));
        const auto change = tree.replace({line(u"c"_s, u"C"_s), line(u"a"_s, u"A"_s), line(u"b"_s, u"B"_s)});
        QCOMPARE(ids(layoutOf(tree)), (QList<int>{before[2], before[0], before[1]}));
        QVERIFY(change.layoutParent);
        QVERIFY(change.updated.isEmpty());
    }

    void equalKeysAreToldApartByTheirOrder() {
        MenuTree tree;
        tree.replace({line(u"x"_s, u"1"_s), line(u"x"_s, u"2"_s)});
        const auto before = ids(layoutOf(tree));
        QVERIFY(before[0] != before[1]);
        QVERIFY(isEmpty(tree.replace({line(u"x"_s, u"1"_s), line(u"x"_s, u"2"_s)})));
        tree.replace({line(u"x"_s, u"1"_s), line(u"x"_s, u"2"_s), line(u"x"_s, u"3"_s)});
        QCOMPARE(ids(layoutOf(tree)).first(2), before);
    }

    void anotherKindIsAnotherEntry() {
        MenuTree tree;
        tree.replace({line(u"account"_s, u"Signing in…"_s)});
        const auto before = ids(layoutOf(tree));
        tree.replace({button(u"account"_s, u"Sign In…"_s)});
        QVERIFY(ids(layoutOf(tree)) != before);
    }

    void idsNeverComeAgain() {
        MenuTree tree;
        QSet<int> gone;
        for (int round = 0; round < 1000; ++round) {
            tree.replace({});
            tree.replace({button(u"k"_s, u"K"_s), submenu(u"s"_s, u"S"_s, {line(u"l"_s, u"L"_s)})});
            const auto now = layoutOf(tree);
            for (const auto id : ids(now) + ids(now.children[1])) {
                QVERIFY(!gone.contains(id));
                gone.insert(id);
            }
        }
        QCOMPARE(tree.revision(), 2000U);
        for (const auto id : std::as_const(gone)) {
            QCOMPARE(tree.contains(id),
                     ids(layoutOf(tree)).contains(id) || ids(layoutOf(tree).children[1]).contains(id));
        }
    }

    void aLayoutStopsAtItsDepth() {
        MenuTree tree;
        tree.replace(sample());
        QCOMPARE(tree.layout(0, 0, {})->children.size(), 0);
        QCOMPARE(tree.layout(0, 1, {})->children.size(), 4);
        QCOMPARE(tree.layout(0, 1, {})->children[2].children.size(), 0);
        QCOMPARE(tree.layout(0, 2, {})->children[2].children.size(), 2);
        const auto recent = layoutOf(tree).children[2].id;
        QCOMPARE(tree.layout(recent, -1, {})->children.size(), 2);
        QVERIFY(!tree.layout(4711, -1, {}));
    }

    void onlyTheNamedPropertiesAreGiven() {
        MenuTree tree;
        tree.replace(sample());
        const auto layout = *tree.layout(0, -1, {u"enabled"_s, u"type"_s});
        QCOMPARE(layout.children[0].properties, (QVariantMap{{u"enabled"_s, false}}));
        QCOMPARE(layout.children[1].properties, (QVariantMap{{u"type"_s, u"separator"_s}}));
        QCOMPARE(layout.children[3].properties, QVariantMap());
    }

    void propertiesAreGivenForKnownIdsOnly() {
        MenuTree tree;
        tree.replace(sample());
        const auto first = layoutOf(tree).children[0].id;
        const auto some = tree.properties({first, 4711}, {u"label"_s});
        QCOMPARE(some.size(), 1);
        QCOMPARE(some[0].id, first);
        QCOMPARE(some[0].properties, (QVariantMap{{u"label"_s, u"Owed now: $12.50"_s}}));
        QCOMPARE(tree.properties({}, {}).size(), 7);
    }

    void underscoresAreShownOnceByPanelsThatLookForTheFirstMarkOnly_data() {
        QTest::addColumn<QString>("text");
        for (const auto& text :
             {u"none"_s, u"A_B"_s, u"A_B_C_D"_s, u"_A_"_s, u"A__B_C"_s, u"A_"_s, u"__"_s}) {
            QTest::newRow(qPrintable(text)) << text;
        }
    }

    void underscoresAreShownOnceByPanelsThatLookForTheFirstMarkOnly() {
        QFETCH(QString, text);
        MenuTree tree;
        tree.replace({submenu(u"s"_s, text, {line(u"l"_s, text)})});
        tree.setDoubled(Underscores::firstOnly);
        const auto asShown = [](const dbus::MenuLayout& entry) {
            auto label = entry.properties.value(u"label"_s).toString();
            if (const auto mark = label.indexOf(QRegularExpression(u"_[^_]"_s)); mark >= 0) {
                label.remove(mark, 1);
            }
            return label;
        };
        const auto entry = layoutOf(tree).children[0];
        QCOMPARE(asShown(entry), text);
        QCOMPARE(asShown(entry.children[0]), text);
        // What the panel has read already is no news.
        QVERIFY(isEmpty(tree.replace({submenu(u"s"_s, text, {line(u"l"_s, text)})})));
        tree.setDoubled(Underscores::all);
        QCOMPARE(layoutOf(tree).children[0].properties.value(u"label"_s).toString().replace(u"__"_s, u"_"_s),
                 text);
        QCOMPARE(layoutOf(tree).properties, (QVariantMap{{u"children-display"_s, u"submenu"_s}}));
    }

    void onlyButtonsDoAnything() {
        MenuTree tree;
        int count = 0;
        auto text = line(u"t"_s, u"T"_s);
        text.action = [&count] { ++count; };
        tree.replace({text, button(u"b"_s, u"B"_s, [&count] { count += 10; }), button(u"idle"_s, u"I"_s)});
        const auto known = ids(layoutOf(tree));
        QVERIFY(!tree.action(known[0]));
        QVERIFY(!tree.action(known[2]));
        QVERIFY(!tree.action(MenuTree::root));
        QVERIFY(!tree.action(4711));
        tree.action(known[1])();
        QCOMPARE(count, 10);
    }

    void actionsAreReplacedThoughNothingShows() {
        MenuTree tree;
        int calls = 0;
        tree.replace({button(u"b"_s, u"B"_s)});
        const auto id = ids(layoutOf(tree))[0];
        QVERIFY(isEmpty(tree.replace({button(u"b"_s, u"B"_s, [&calls] { ++calls; })})));
        tree.action(id)();
        QCOMPARE(calls, 1);
    }
};

QUILLO_TEST(MenuTreeTest, QCoreApplication)
#include "MenuTreeTest.moc"
