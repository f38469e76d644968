#include "ui/MenuRenderer.h"

#include "support/TestMain.h"
#include "support/Wait.h"
#include "ui/Colours.h"

#include <QApplication>
#include <QHelpEvent>
#include <QMainWindow>
#include <QMenuBar>
#include <QSignalSpy>
#include <QStyleOptionMenuItem>
#include <QTest>
#include <QTextDocumentFragment>
#include <QToolTip>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using Kind = MenuEntry::Kind;
using Style = MenuEntry::Style;
using CheckState = MenuEntry::CheckState;

MenuEntry text(const QString& text, Style style = Style::normal) {
    return {.kind = Kind::text, .key = u"text"_s, .text = text, .style = style};
}

MenuEntry button(const QString& key, const QString& text, std::function<void()> action = {}) {
    return {.kind = Kind::button, .key = key, .text = text, .action = std::move(action)};
}

MenuEntry divider(const QString& key = u"divider"_s) {
    return {.kind = Kind::divider, .key = key};
}

MenuEntry submenu(const QString& text, Menu children) {
    return {.kind = Kind::submenu, .key = u"submenu"_s, .text = text, .children = std::move(children)};
}

/// What an action shows, as a person reads it: mnemonics are marked "(X)".
QString shown(const QAction& action) {
    auto text = action.text();
    text.replace(u"&&"_s, u"\x1"_s);
    const auto mnemonic = text.indexOf(u'&');
    if (mnemonic >= 0) {
        text = text.left(mnemonic) + u'(' + text[mnemonic + 1] + u')' + text.mid(mnemonic + 2);
    }
    return text.replace(u'\x1', u'&');
}

QStringList shown(const QMenu& menu) {
    QStringList lines;
    for (const auto* action : menu.actions()) {
        lines += action->isSeparator() ? u"---"_s : shown(*action);
    }
    return lines;
}

/// Gives access to how an entry is going to be drawn.
class InspectedMenu : public QMenu {
public:
    static QStyleOptionMenuItem option(const QMenu& menu, const QAction* action) {
        QStyleOptionMenuItem option;
        (menu.*(&InspectedMenu::initStyleOption))(&option, action);
        return option;
    }
};

/// How often the menu was told to change its list of actions.
class ActionEvents : public QObject {
public:
    explicit ActionEvents(QMenu& menu) { menu.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::ActionAdded || event->type() == QEvent::ActionRemoved ? 1 : 0;
        changes += event->type() == QEvent::ActionChanged ? 1 : 0;
        return false;
    }
    int count = 0;
    int changes = 0;
};

} // namespace

class MenuRendererTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showsEveryKindOfEntry() {
        MenuRenderer menu;
        auto on = button(u"on"_s, u"One"_s);
        on.check = CheckState::on;
        auto off = button(u"off"_s, u"Two"_s);
        off.check = CheckState::off;
        menu.setMenu({text(u"Owed now: $1.00"_s), divider(), submenu(u"Recent"_s, {on, off}),
                      button(u"b"_s, u"Quit"_s)});
        QCOMPARE(shown(menu), QStringList({u"Owed now: $1.00"_s, u"---"_s, u"Recent"_s, u"Quit"_s}));
        const auto actions = menu.actions();
        QVERIFY(!actions[0]->isEnabled());
        QVERIFY(!actions[0]->isCheckable());
        QVERIFY(actions[3]->isEnabled());
        QVERIFY(!actions[3]->isCheckable());
        const auto* children = actions[2]->menu();
        QVERIFY(children);
        QVERIFY(actions[2]->isEnabled());
        QCOMPARE(shown(*children), QStringList({u"One"_s, u"Two"_s}));
        QVERIFY(children->actions()[0]->isChecked());
        QVERIFY(children->actions()[1]->isCheckable());
        QVERIFY(!children->actions()[1]->isChecked());
    }

    void anEmptySubmenuIsStillOne() {
        MenuRenderer menu;
        menu.setMenu({submenu(u"Recent transactions (0)"_s, {})});
        QVERIFY(menu.actions()[0]->menu());
        QVERIFY(menu.actions()[0]->menu()->isEmpty());
        QVERIFY(menu.actions()[0]->isEnabled());
    }

    void textsAreShownAsTheyAre_data() {
        QTest::addColumn<QString>("given");
        QTest::addColumn<QString>("expected");
        QTest::newRow("ampersand") << u"AT&T & Co"_s << u"AT&T & Co"_s;
        QTest::newRow("two ampersands") << u"A&&B"_s << u"A&&B"_s;
        QTest::newRow("ampersand at the end") << u"H&"_s << u"H&"_s;
        QTest::newRow("underscore") << u"SQ_*_CAFE __"_s << u"SQ_*_CAFE __"_s;
        QTest::newRow("markup") << u"<b>x</b><img src='http://x/'>"_s << u"<b>x</b><img src='http://x/'>"_s;
        // A tab would begin the column of shortcuts.
        QTest::newRow("control characters") << u"a\tb\nc\x7"_s << u"a b c "_s;
        QTest::newRow("direction overrides") << u"a\u202Eb\u2066c"_s << u"abc"_s;
    }
    void textsAreShownAsTheyAre() {
        QFETCH(QString, given);
        MenuRenderer menu;
        menu.setMenu({text(given)});
        QTEST(shown(menu).value(0), "expected");
    }

    void aLineTooLongForAMenuIsCutAndWholeInTheToolTip() {
        MenuRenderer menu;
        menu.setMenu({text(u"&<i>long</i> "_s + QString(10'000, u'x'))});
        const auto* action = menu.actions()[0];
        QVERIFY(shown(*action).startsWith(u"&<i>long</i> xxx"));
        QVERIFY(shown(*action).endsWith(u'…'));
        QVERIFY(action->text().size() < 200);
        QVERIFY(QFontMetrics(action->font()).horizontalAdvance(action->text()) < 1000);
        QVERIFY(action->toolTip().contains(u"&amp;&lt;i&gt;long&lt;/i&gt; xxx"));
    }

    void helpIsAToolTipOfPlainText() {
        MenuRenderer menu;
        auto entry = button(u"b"_s, u"Pull"_s);
        entry.help = u"Fast & <free>."_s;
        menu.setMenu({entry});
        QCOMPARE(QTextDocumentFragment::fromHtml(menu.actions()[0]->toolTip()).toPlainText(), entry.help);
    }

    void onlyHelpIsShownAsAToolTip() {
        MenuRenderer menu;
        auto entry = button(u"b"_s, u"Pull"_s);
        entry.help = u"Fast."_s;
        menu.setMenu({text(u"<b>ACME</b>"_s), entry});
        menu.popup({0, 0});
        const auto shownAt = [&menu](qsizetype index) {
            const auto place = menu.actionGeometry(menu.actions()[index]).center();
            QHelpEvent event(QEvent::ToolTip, place, menu.mapToGlobal(place));
            QApplication::sendEvent(&menu, &event);
            return QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText();
        };
        QCOMPARE(shownAt(1), u"Fast."_s);
        QVERIFY(waitUntil([&shownAt] { return shownAt(0).isEmpty(); }));
    }

    void textLinesAreDrawnInTheirColour_data() {
        QTest::addColumn<Style>("style");
        QTest::addColumn<QColor Colours::*>("colour");
        QTest::newRow("secondary") << Style::secondary << &Colours::secondary;
        QTest::newRow("red") << Style::red << &Colours::red;
        QTest::newRow("orange") << Style::orange << &Colours::orange;
    }
    void textLinesAreDrawnInTheirColour() {
        QFETCH(Style, style);
        QFETCH(QColor Colours::*, colour);
        MenuRenderer menu;
        for (const auto background : {Qt::white, Qt::black}) {
            menu.setPalette(QPalette(QColor(background)));
            menu.setMenu({text(u"x"_s, style), text(u"y"_s)});
            const auto drawn = [&menu](qsizetype index, QPalette::ColorGroup group,
                                       QPalette::ColorRole role) {
                return InspectedMenu::option(menu, menu.actions()[index]).palette.color(group, role);
            };
            const auto expected = Colours::on(menu.palette()).*colour;
            QCOMPARE(drawn(0, QPalette::Disabled, QPalette::Text), expected);
            QCOMPARE(drawn(0, QPalette::Active, QPalette::WindowText), expected);
            // As legible as what can be chosen.
            QCOMPARE(drawn(1, QPalette::Disabled, QPalette::Text),
                     menu.palette().color(QPalette::WindowText));
        }
    }

    void captionsAreSmaller() {
        MenuRenderer menu;
        auto caption = text(u"x"_s);
        caption.size = MenuEntry::TextSize::caption;
        menu.setMenu({caption, button(u"b"_s, u"y"_s)});
        QCOMPARE(InspectedMenu::option(menu, menu.actions()[0]).font.pointSizeF(),
                 menu.font().pointSizeF() * 0.85);
        QCOMPARE(InspectedMenu::option(menu, menu.actions()[1]).font, menu.font());
    }

    void captionsAreSmallerAlsoWhenFontsAreMeasuredInPixels() {
        MenuRenderer menu;
        auto font = menu.font();
        font.setPixelSize(20);
        menu.setFont(font);
        auto caption = text(u"x"_s);
        caption.size = MenuEntry::TextSize::caption;
        menu.setMenu({caption});
        QCOMPARE(menu.actions()[0]->font().pixelSize(), 17);
    }

    void captionsFollowTheFont() {
        MenuRenderer menu;
        auto caption = text(u"x"_s);
        caption.size = MenuEntry::TextSize::caption;
        menu.setMenu({caption});
        auto larger = menu.font();
        larger.setPointSizeF(30);
        menu.setFont(larger);
        QCOMPARE(menu.actions()[0]->font().pointSizeF(), 25.5);
    }

    void choosingAnEntryRunsItsActionOnALaterTurn() {
        MenuRenderer menu;
        int runs = 0;
        menu.setMenu({button(u"b"_s, u"x"_s, [&runs] { ++runs; }), button(u"c"_s, u"nothing"_s)});
        menu.actions()[0]->trigger();
        menu.actions()[1]->trigger();
        QCOMPARE(runs, 0);
        drainEvents();
        QCOMPARE(runs, 1);
    }

    void aChosenActionOutlivesItsEntry() {
        MenuRenderer menu;
        QStringList runs;
        menu.setMenu({submenu(u"s"_s, {button(u"b"_s, u"x"_s, [&runs] { runs += u"first"_s; })})});
        menu.actions()[0]->menu()->actions()[0]->trigger();
        menu.setMenu({});
        drainEvents();
        QCOMPARE(runs, QStringList{u"first"_s});
    }

    void theLatestActionCounts() {
        MenuRenderer menu;
        QStringList runs;
        menu.setMenu({button(u"b"_s, u"x"_s, [&runs] { runs += u"old"_s; })});
        menu.setMenu({button(u"b"_s, u"x"_s, [&runs] { runs += u"new"_s; })});
        menu.actions()[0]->trigger();
        drainEvents();
        QCOMPARE(runs, QStringList{u"new"_s});
    }

    void choosingTheCheckedEntryKeepsItsMark() {
        MenuRenderer menu;
        auto entry = button(u"b"_s, u"1 minute"_s);
        entry.check = CheckState::on;
        menu.setMenu({entry});
        menu.actions()[0]->trigger();
        QVERIFY(menu.actions()[0]->isChecked());
    }

    void anEqualMenuChangesNothing() {
        MenuRenderer menu;
        const auto make = [] {
            auto pull = button(u"a"_s, u"A&B"_s);
            pull.shortcut = QKeySequence(Qt::CTRL | Qt::Key_R);
            pull.help = u"help"_s;
            auto checked = button(u"c"_s, u"C"_s);
            checked.check = CheckState::on;
            return Menu{text(u"t"_s, Style::red), divider(), pull, submenu(u"s"_s, {checked})};
        };
        menu.setMenu(make());
        const ActionEvents events(menu);
        const ActionEvents below(*menu.actions()[3]->menu());
        menu.setMenu(make());
        QCOMPARE(events.count + events.changes + below.count + below.changes, 0);
    }

    void entriesThatStayTheSameKeepTheirActions() {
        MenuRenderer menu;
        menu.setMenu({text(u"$1.00"_s), button(u"b"_s, u"Quit"_s), submenu(u"s"_s, {text(u"line"_s)})});
        const auto before = menu.actions();
        const auto* lineBefore = before[2]->menu()->actions()[0];
        const ActionEvents events(menu);
        menu.setMenu({text(u"$2.00"_s), button(u"b"_s, u"Quit"_s), submenu(u"s"_s, {text(u"other"_s)})});
        QCOMPARE(menu.actions(), before);
        QCOMPARE(before[2]->menu()->actions()[0], lineBefore);
        QCOMPARE(events.count, 0);
        QCOMPARE(shown(menu).value(0), u"$2.00"_s);
        QCOMPARE(shown(*before[2]->menu()), QStringList{u"other"_s});
    }

    void entriesComeGoAndMoveAroundThoseThatStay() {
        MenuRenderer menu;
        const auto a = button(u"a"_s, u"A"_s);
        const auto b = button(u"b"_s, u"B"_s);
        const auto c = button(u"c"_s, u"C"_s);
        menu.setMenu({a, b, c});
        const auto before = menu.actions();
        menu.setMenu({divider(), c, a});
        QCOMPARE(shown(menu), QStringList({u"---"_s, u"C"_s, u"A"_s}));
        QCOMPARE(menu.actions()[1], before[2]);
        QCOMPARE(menu.actions()[2], before[0]);
        menu.setMenu({});
        QVERIFY(menu.isEmpty());
    }

    void anEntryOfAnotherKindIsAnother() {
        MenuRenderer menu;
        menu.setMenu({{.kind = Kind::text, .key = u"x"_s, .text = u"Signing in…"_s}});
        menu.setMenu({{.kind = Kind::button, .key = u"x"_s, .text = u"Sign In…"_s}});
        QCOMPARE(shown(menu), QStringList{u"Sign In…"_s});
        QVERIFY(menu.actions()[0]->isEnabled());
    }

    void entriesWithOneKeyAreToldApartByTheirOrder() {
        MenuRenderer menu;
        menu.setMenu({text(u"a"_s), text(u"b"_s)});
        const auto before = menu.actions();
        menu.setMenu({text(u"a"_s), text(u"c"_s), text(u"d"_s)});
        QCOMPARE(menu.actions().first(2), before);
        QCOMPARE(shown(menu), QStringList({u"a"_s, u"c"_s, u"d"_s}));
    }

    void anOpenMenuStaysOpenWhileItChanges() {
        MenuRenderer menu;
        menu.setMenu({button(u"a"_s, u"A"_s), submenu(u"s"_s, {button(u"x"_s, u"X"_s)})});
        menu.popup({0, 0});
        QSignalSpy hidden(&menu, &QMenu::aboutToHide);
        const auto heightBefore = menu.height();
        menu.setMenu({text(u"new"_s), button(u"a"_s, u"A"_s), submenu(u"s"_s, {})});
        QVERIFY(menu.isVisible());
        QVERIFY(hidden.isEmpty());
        QVERIFY(menu.height() > heightBefore);
    }

    void anOpenSubmenuThatGoesClosesAlone() {
        MenuRenderer menu;
        menu.setMenu({button(u"a"_s, u"A"_s), submenu(u"s"_s, {button(u"x"_s, u"X"_s)})});
        menu.popup({0, 0});
        QPointer<QMenu> below = menu.actions()[1]->menu();
        menu.setActiveAction(menu.actions()[1]);
        QVERIFY(below->isVisible());
        menu.setMenu({button(u"a"_s, u"A"_s)});
        QVERIFY(menu.isVisible());
        drainEvents();
        QVERIFY(!below);
    }

    void openingTellsOnce() {
        MenuRenderer menu;
        menu.setMenu({submenu(u"s"_s, {button(u"x"_s, u"X"_s)})});
        QSignalSpy opened(&menu, &QMenu::aboutToShow);
        menu.popup({0, 0});
        menu.setActiveAction(menu.actions()[0]);
        QVERIFY(menu.actions()[0]->menu()->isVisible());
        QCOMPARE(opened.size(), 1);
    }

    void inAMenuBarTheFirstOfTwoEqualShortcutsWorks() {
        const QKeySequence keys(Qt::CTRL | Qt::SHIFT | Qt::Key_R);
        QStringList runs;
        auto reconnect = button(u"a"_s, u"Reconnect bank…"_s, [&runs] { runs += u"reconnect"_s; });
        auto open = button(u"b"_s, u"Open ledger"_s, [&runs] { runs += u"open"_s; });
        reconnect.shortcut = open.shortcut = keys;

        QMainWindow window;
        auto* menu = new MenuRenderer(&window);
        menu->setTitle(u"Quillo"_s);
        menu->setMenu({reconnect, open});
        window.menuBar()->addMenu(menu);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        for (const auto* action : menu->actions()) {
            QCOMPARE(action->shortcut(), keys);
            QVERIFY(action->isShortcutVisibleInContextMenu());
        }
        QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
        drainEvents();
        QCOMPARE(runs, QStringList{u"reconnect"_s});

        menu->setMenu({open});
        QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
        drainEvents();
        QCOMPARE(runs, QStringList({u"reconnect"_s, u"open"_s}));
    }
};

QUILLO_TEST(MenuRendererTest, QApplication)
#include "MenuRendererTest.moc"
