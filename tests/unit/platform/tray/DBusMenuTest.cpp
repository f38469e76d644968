#include "platform/tray/DBusMenu.h"

#include "ItemProxy.h"
#include "support/LoopStallProbe.h"
#include "support/PrivateBus.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QDBusError>
#include <QSignalSpy>
#include <QTest>

#include <ctime>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

MenuEntry line(const QString& key, const QString& text) {
    return {.key = key, .text = text};
}

MenuEntry button(const QString& key, const QString& text, std::function<void()> action = {}) {
    return {.kind = MenuEntry::Kind::button, .key = key, .text = text, .action = std::move(action)};
}

Menu longMenu() {
    Menu recent;
    for (int index = 0; index < 20; ++index) {
        recent.push_back(
            line(QString::number(index), u"2024-05-01 * −$12.50 → $1,234.50  Some merchant %1"_s.arg(index)));
    }
    Menu menu{
        {.kind = MenuEntry::Kind::submenu, .key = u"recent"_s, .text = u"Recent"_s, .children = recent}};
    for (int index = 0; index < 30; ++index) {
        auto entry = button(QString::number(index), u"Action %1"_s.arg(index));
        entry.help = u"What it does, at some length, so that there is something to send"_s;
        entry.shortcut = QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R);
        menu.push_back(entry);
    }
    return menu;
}

/// A menu on a bus, and a panel that looks at it.
struct Fixture {
    PrivateBus bus;
    QDBusConnection connection = bus.connect();
    DBusMenu menu;
    ItemProxy panel{bus.connect(), connection.baseService()};
    QSignalSpy tracking{&menu, &DBusMenu::beganTracking};
    LoopStallProbe probe;

    Fixture() {
        if (!menu.exportOn(connection)) {
            qFatal("the menu's path is taken");
        }
    }

    ~Fixture() {
        if (const auto stall = probe.longestStall(); stall > LoopStallProbe::budget) {
            qCritical("the event loop stood still for %lld ms", static_cast<long long>(stall.count()));
            QTest::qFail("the event loop was blocked", __FILE__, __LINE__);
        }
    }

    QDBusMessage event(int id, const QString& name) {
        return panel.callMenu(u"Event"_s, {id, name, QVariant::fromValue(QDBusVariant(0)), 0U});
    }

    /// The menu's own signals; the item that a proxy also asks is not there.
    QStringList signalNames() {
        QStringList names;
        for (const auto& message : panel.takeSignals()) {
            names.append(message.member());
        }
        return names;
    }
};

std::chrono::microseconds processorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_nsec / 1000);
}

} // namespace

class DBusMenuTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void answersWithTheWholeMenu() {
        Fixture fixture;
        fixture.menu.setMenu(
            {line(u"owed"_s, u"Owed now: $12.50"_s),
             {.kind = MenuEntry::Kind::divider, .key = u"1"_s},
             {.kind = MenuEntry::Kind::submenu,
              .key = u"recent"_s,
              .text = u"Recent transactions (1)"_s,
              .children = {line(u"a"_s, u"2024-05-01 * −$12.50 → $−3.00  AT&T <b>x_y</b>"_s)}},
             {.kind = MenuEntry::Kind::button,
              .key = u"open"_s,
              .text = u"Open ledger"_s,
              .shortcut = QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R)}});
        const auto [revision, root] = fixture.panel.layout();
        QCOMPARE(revision, 2U);
        QCOMPARE(root.id, 0);
        QCOMPARE(root.properties.value(u"children-display"_s), u"submenu"_s);
        QCOMPARE(root.children.size(), 4);
        QCOMPARE(root.children[0].properties,
                 (QVariantMap{{u"label"_s, u"Owed now: $12.50"_s}, {u"enabled"_s, false}}));
        QCOMPARE(root.children[1].properties, (QVariantMap{{u"type"_s, u"separator"_s}}));
        QCOMPARE(root.children[2].children.value(0).properties.value(u"label"_s),
                 u"2024-05-01 * −$12.50 → $−3.00  AT&T <b>x__y</b>"_s);
        QCOMPARE(qdbus_cast<dbus::Shortcut>(root.children[3].properties.value(u"shortcut"_s)),
                 (dbus::Shortcut{{u"Control"_s, u"Shift"_s, u"R"_s}}));
    }

    void theShortcutTravelsAsListsOfKeys() {
        Fixture fixture;
        auto entry = button(u"open"_s, u"Open"_s);
        entry.shortcut = QKeySequence(Qt::CTRL | Qt::Key_R);
        fixture.menu.setMenu({entry});
        const auto id = fixture.panel.idOf(u"Open"_s);
        const auto reply = fixture.panel.callMenu(u"GetProperty"_s, {id, u"shortcut"_s});
        const auto value = reply.arguments().value(0).value<QDBusVariant>().variant().value<QDBusArgument>();
        QCOMPARE(value.currentSignature(), u"aas"_s);
    }

    void saysWhatTheInterfaceAsks() {
        Fixture fixture;
        const auto properties = fixture.panel.menuProperties();
        QCOMPARE(properties.value(u"Version"_s), 3U);
        QCOMPARE(properties.value(u"TextDirection"_s), u"ltr"_s);
        QCOMPARE(properties.value(u"Status"_s), u"normal"_s);
        QCOMPARE(properties.value(u"IconThemePath"_s).toStringList(), QStringList());
        QCOMPARE(properties.size(), 4);
    }

    void answersOnlyWhatIsAsked() {
        Fixture fixture;
        fixture.menu.setMenu(longMenu());
        const auto shallow = fixture.panel.layout(0, 1, {u"label"_s}).root;
        QCOMPARE(shallow.children.size(), 31);
        QCOMPARE(shallow.children[0].children.size(), 0);
        QCOMPARE(shallow.children[1].properties.keys(), QStringList{u"label"_s});
        const auto sub = fixture.panel.layout(shallow.children[0].id, -1).root;
        QCOMPARE(sub.children.size(), 20);
    }

    void submenusAreAnnouncedToAPanelThatHasAskedForOneLevelOnly() {
        Fixture fixture;
        fixture.menu.setMenu(longMenu());
        (void)fixture.panel.takeSignals();
        const auto [revision, root] = fixture.panel.layout(0, 1);
        const auto sub = root.children[0].id;
        QList<QVariantList> told;
        for (const auto& message : fixture.panel.takeSignals()) {
            QCOMPARE(message.member(), u"LayoutUpdated"_s);
            told << message.arguments();
        }
        QCOMPARE(told, (QList<QVariantList>{{revision, sub}}));
        // What the panel asks then, and a panel that asks for everything, is told no more.
        (void)fixture.panel.layout(sub, 1);
        (void)fixture.panel.layout(0, -1);
        QCOMPARE(fixture.signalNames(), QStringList());
    }

    void aMillionIdsInOneMessageDoNotFreezeTheProgram_data() {
        QTest::addColumn<QString>("method");
        QTest::addColumn<int>("id");
        for (const auto& method : {u"GetGroupProperties"_s, u"AboutToShowGroup"_s}) {
            QTest::addRow("%s, known", qPrintable(method)) << method << 1;
            QTest::addRow("%s, unknown", qPrintable(method)) << method << 4711;
        }
    }

    void aMillionIdsInOneMessageDoNotFreezeTheProgram() {
        QFETCH(QString, method);
        QFETCH(int, id);
        DBusMenu menu;
        menu.setMenu(longMenu());
        const int known = 1;
        QList<int> ids(1'000'000, id);
        ids.first() = known;
        const QStringList names(1'000'000, u"label"_s);
        const auto begin = processorTime();
        if (method == u"GetGroupProperties") {
            QCOMPARE(menu.GetGroupProperties(ids, names).size(), 1);
        } else {
            QList<int> unknown;
            QCOMPARE(menu.AboutToShowGroup(ids, unknown), QList<int>());
            QCOMPARE(unknown, id == known ? QList<int>() : QList{id});
        }
        const auto taken = processorTime() - begin;
        QVERIFY2(taken < LoopStallProbe::budget, qPrintable(QString::number(taken.count())));
    }

    void refusesWhatItDoesNotKnow() {
        Fixture fixture;
        fixture.menu.setMenu({button(u"b"_s, u"B"_s)});
        const auto id = fixture.panel.idOf(u"B"_s);
        const auto invalid = QDBusError::errorString(QDBusError::InvalidArgs);
        QCOMPARE(fixture.panel.callMenu(u"GetLayout"_s, {4711, -1, QStringList()}).errorName(), invalid);
        QCOMPARE(fixture.panel.callMenu(u"GetProperty"_s, {4711, u"label"_s}).errorName(), invalid);
        QCOMPARE(fixture.panel.callMenu(u"GetProperty"_s, {id, u"price"_s}).errorName(), invalid);
        QCOMPARE(fixture.panel.callMenu(u"AboutToShow"_s, {4711}).errorName(), invalid);
        QCOMPARE(fixture.event(4711, u"clicked"_s).errorName(), invalid);
        QCOMPARE(fixture.event(id, u"hovered"_s).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(fixture.event(id, u"no such event"_s).type(), QDBusMessage::ReplyMessage);
    }

    void aGroupNamesThoseItDoesNotKnow() {
        Fixture fixture;
        int clicks = 0;
        fixture.menu.setMenu({button(u"b"_s, u"B"_s, [&clicks] { ++clicks; })});
        const auto id = fixture.panel.idOf(u"B"_s);
        const auto clicked = [](int item) { return dbus::MenuEvent{item, u"clicked"_s, QDBusVariant(0), 0}; };
        auto reply = fixture.panel.callMenu(
            u"EventGroup"_s, {QVariant::fromValue(dbus::MenuEvents{clicked(4711), clicked(id)})});
        QCOMPARE(qdbus_cast<QList<int>>(reply.arguments().value(0)), QList<int>{4711});
        QVERIFY(waitUntil([&clicks] { return clicks == 1; }));
        reply =
            fixture.panel.callMenu(u"EventGroup"_s, {QVariant::fromValue(dbus::MenuEvents{clicked(4711)})});
        QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        reply = fixture.panel.callMenu(u"AboutToShowGroup"_s, {QVariant::fromValue(QList<int>{id, 4711})});
        QCOMPARE(qdbus_cast<QList<int>>(reply.arguments().value(0)), QList<int>());
        QCOMPARE(qdbus_cast<QList<int>>(reply.arguments().value(1)), QList<int>{4711});
        reply = fixture.panel.callMenu(u"AboutToShowGroup"_s, {QVariant::fromValue(QList<int>{4711})});
        QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
    }

    void groupPropertiesLeaveOutWhatIsNotKnown() {
        Fixture fixture;
        fixture.menu.setMenu({button(u"b"_s, u"B"_s)});
        const auto id = fixture.panel.idOf(u"B"_s);
        const auto reply = fixture.panel.callMenu(u"GetGroupProperties"_s,
                                                  {QVariant::fromValue(QList<int>{id, 4711}), QStringList()});
        const auto items = qdbus_cast<dbus::MenuItems>(reply.arguments().value(0));
        QCOMPARE(items.size(), 1);
        QCOMPARE(items[0].id, id);
        QCOMPARE(items[0].properties, (QVariantMap{{u"label"_s, u"B"_s}}));
    }

    void anUnchangedMenuSendsNothing() {
        Fixture fixture;
        fixture.menu.setMenu(longMenu());
        fixture.signalNames();
        for (int round = 0; round < 100; ++round) {
            fixture.menu.setMenu(longMenu());
            drainEvents();
        }
        QCOMPARE(fixture.signalNames(), QStringList());
    }

    void aChangedTextIsSentAloneAndNotAsALayout() {
        Fixture fixture;
        fixture.menu.setMenu({line(u"owed"_s, u"$1"_s), button(u"quit"_s, u"Quit"_s)});
        const auto id = fixture.panel.idOf(u"$1"_s);
        (void)fixture.panel.takeSignals();
        fixture.menu.setMenu({line(u"owed"_s, u"$2"_s), button(u"quit"_s, u"Quit"_s)});
        const auto sent = fixture.panel.takeSignals();
        QCOMPARE(sent.size(), 1U);
        QCOMPARE(sent[0].member(), u"ItemsPropertiesUpdated"_s);
        QCOMPARE(sent[0].signature(), u"a(ia{sv})a(ias)"_s);
        const auto updated = qdbus_cast<dbus::MenuItems>(sent[0].arguments().value(0));
        QCOMPARE(updated.size(), 1);
        QCOMPARE(updated[0].id, id);
        QCOMPARE(updated[0].properties, (QVariantMap{{u"label"_s, u"$2"_s}}));
    }

    void aPropertyThatGoesIsSentAsRemoved() {
        Fixture fixture;
        auto entry = line(u"error"_s, u"Error"_s);
        entry.style = MenuEntry::Style::red;
        fixture.menu.setMenu({entry});
        (void)fixture.panel.takeSignals();
        entry.style = MenuEntry::Style::normal;
        fixture.menu.setMenu({entry});
        const auto sent = fixture.panel.takeSignals();
        QCOMPARE(sent.size(), 1U);
        const auto removed = qdbus_cast<dbus::RemovedProperties>(sent[0].arguments().value(1));
        QCOMPARE(removed.size(), 1);
        QCOMPARE(removed[0].names, QStringList{u"disposition"_s});
    }

    void aChangedStructureIsALayoutWhoseRevisionTheLayoutRepeats() {
        Fixture fixture;
        uint last = fixture.panel.layout().revision;
        for (int count = 1; count <= 5; ++count) {
            Menu menu;
            for (int index = 0; index < count; ++index) {
                menu.push_back(button(QString::number(index), QString::number(index)));
            }
            fixture.menu.setMenu(menu);
            const auto sent = fixture.panel.takeSignals();
            QCOMPARE(sent.size(), 1U);
            QCOMPARE(sent[0].member(), u"LayoutUpdated"_s);
            const auto revision = sent[0].arguments().value(0).toUInt();
            QVERIFY(revision > last);
            QCOMPARE(sent[0].arguments().value(1).toInt(), 0);
            QCOMPARE(fixture.panel.layout().revision, revision);
            last = revision;
        }
    }

    void aClickRunsTheActionAfterThePanelHasItsAnswer() {
        Fixture fixture;
        int clicks = 0;
        fixture.menu.setMenu({button(u"b"_s, u"B"_s, [&clicks] { ++clicks; })});
        const auto id = fixture.panel.idOf(u"B"_s);
        fixture.menu.Event(id, u"clicked"_s, QDBusVariant(0), 0);
        QCOMPARE(clicks, 0);
        QVERIFY(waitUntil([&clicks] { return clicks == 1; }));
        QCOMPARE(fixture.event(id, u"clicked"_s).type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&clicks] { return clicks == 2; }));
    }

    void anActionMayReplaceTheMenuItCameFrom() {
        Fixture fixture;
        int clicks = 0;
        fixture.menu.setMenu({button(u"b"_s, u"B"_s, [&] {
            fixture.menu.setMenu({});
            ++clicks;
        })});
        const auto id = fixture.panel.idOf(u"B"_s);
        fixture.event(id, u"clicked"_s);
        QVERIFY(waitUntil([&clicks] { return clicks == 1; }));
        QCOMPARE(fixture.panel.layout().root.children.size(), 0);
    }

    void aTextLineDoesNothingWhenClicked() {
        Fixture fixture;
        bool done = false;
        auto text = line(u"t"_s, u"T"_s);
        text.action = [&done] { done = true; };
        fixture.menu.setMenu({text});
        QCOMPARE(fixture.event(fixture.panel.idOf(u"T"_s), u"clicked"_s).type(), QDBusMessage::ReplyMessage);
        drainEvents();
        QVERIFY(!done);
    }

    void aClickOnWhatWasRebuiltMeanwhileDoesWhatItSaidOrNothing() {
        Fixture fixture;
        QStringList done;
        const auto says = [&done](const QString& what) { return [&done, what] { done.append(what); }; };
        fixture.menu.setMenu({button(u"signIn"_s, u"Sign In…"_s, says(u"in"_s)),
                              button(u"quit"_s, u"Quit"_s, says(u"quit"_s))});
        const auto signIn = fixture.panel.idOf(u"Sign In…"_s);
        const auto quit = fixture.panel.idOf(u"Quit"_s);
        // The panel still shows the first menu while the second is there.
        fixture.menu.setMenu({line(u"mail"_s, u"a@b.example"_s),
                              button(u"signOut"_s, u"Sign Out"_s, says(u"out"_s)),
                              button(u"quit"_s, u"Quit"_s, says(u"quit"_s))});
        QCOMPARE(fixture.event(signIn, u"clicked"_s).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(fixture.event(quit, u"clicked"_s).type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&done] { return !done.isEmpty(); }));
        QCOMPARE(done, QStringList{u"quit"_s});
    }

    void aClickThatCameBeforeTheMenuWasReplacedStillCounts() {
        Fixture fixture;
        QString done;
        fixture.menu.setMenu({button(u"b"_s, u"B"_s, [&done] { done = u"as seen"_s; })});
        fixture.menu.Event(fixture.panel.idOf(u"B"_s), u"clicked"_s, QDBusVariant(0), 0);
        fixture.menu.setMenu({});
        QVERIFY(waitUntil([&done] { return !done.isEmpty(); }));
        QCOMPARE(done, u"as seen"_s);
    }

    void everyPanelsWayOfOpeningCountsOnce_data() {
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<bool>("saysWhenClosed");
        const QStringList shell{u"opened"_s, u"AboutToShow"_s};
        const QStringList plasma{u"AboutToShow"_s, u"opened"_s};
        QTest::newRow("event, then about to show") << shell << true;
        QTest::newRow("the same, silent closing") << shell << false;
        QTest::newRow("about to show, then event") << plasma << true;
        QTest::newRow("the same, silent closing too") << plasma << false;
        QTest::newRow("group only") << QStringList{u"AboutToShowGroup"_s} << false;
        QTest::newRow("about to show only") << QStringList{u"AboutToShow"_s} << false;
        QTest::newRow("event only") << QStringList{u"opened"_s} << true;
        QTest::newRow("all three") << QStringList{u"AboutToShowGroup"_s, u"AboutToShow"_s, u"opened"_s}
                                   << false;
    }

    void everyPanelsWayOfOpeningCountsOnce() {
        QFETCH(QStringList, messages);
        QFETCH(bool, saysWhenClosed);
        Fixture fixture;
        fixture.menu.setMenu(longMenu());
        for (int opening = 1; opening <= 3; ++opening) {
            for (const auto& message : messages) {
                sayOpening(fixture, message);
            }
            if (saysWhenClosed) {
                fixture.event(0, u"closed"_s);
            }
            drainEvents();
            QCOMPARE(fixture.tracking.count(), opening);
        }
    }

    void aSubmenuThatOpensIsNotTheMenu() {
        Fixture fixture;
        fixture.menu.setMenu(longMenu());
        const auto recent = fixture.panel.idOf(u"Recent"_s);
        (void)fixture.panel.callMenu(u"AboutToShow"_s, {recent});
        (void)fixture.panel.callMenu(u"AboutToShowGroup"_s, {QVariant::fromValue(QList<int>{recent})});
        fixture.event(recent, u"opened"_s);
        drainEvents();
        QCOMPARE(fixture.tracking.count(), 0);
    }

    void aPanelThatAsksWithNobodyOpeningIsTakenAtItsEventsOnly() {
        Fixture fixture;
        fixture.menu.setHost({.openingSign = OpeningSign::openedEvent});
        sayOpening(fixture, u"AboutToShow"_s);
        sayOpening(fixture, u"AboutToShowGroup"_s);
        drainEvents();
        QCOMPARE(fixture.tracking.count(), 0);
        sayOpening(fixture, u"opened"_s);
        sayOpening(fixture, u"AboutToShow"_s);
        drainEvents();
        QCOMPARE(fixture.tracking.count(), 1);
    }

    void anyTextTravelsAsHarmlessPlainText() {
        Fixture fixture;
        const QString nasty = u"<b>AT&T</b>_\0x\n\u202Egnp\u202C"_s + QChar(0xD800) + QString(10'000, u'y');
        fixture.menu.setMenu({line(u"n"_s, nasty), button(u"ok"_s, u"OK"_s)});
        const auto root = fixture.panel.layout().root;
        QCOMPARE(root.children.size(), 2);
        const auto label = root.children[0].properties.value(u"label"_s).toString();
        QVERIFY2(label.startsWith(u"<b>AT&T</b>__ x gnp\uFFFDyyyy"), qPrintable(label.left(40)));
        QVERIFY(label.size() < 600);
        QCOMPARE(root.children[1].properties.value(u"label"_s).toString(), u"OK"_s);
    }

    // The processor's time, because a busy machine says nothing about the program.
    void aMenuIsBuiltAndAnsweredWithinTwoMilliseconds() {
        Fixture fixture;
        fixture.menu.setMenu(longMenu());
        std::vector<std::chrono::microseconds> times;
        for (int round = 0; round < 200; ++round) {
            auto menu = longMenu();
            menu[0].children[5].text = QString::number(round);
            const auto begin = processorTime();
            fixture.menu.setMenu(std::move(menu));
            dbus::MenuLayout layout;
            const auto revision = fixture.menu.GetLayout(0, -1, {}, layout);
            QDBusArgument argument;
            argument << layout;
            times.push_back(processorTime() - begin);
            QVERIFY(revision > 0);
            drainEvents();
        }
        std::sort(times.begin(), times.end());
        const auto median = times[times.size() / 2];
        // Two milliseconds, and as many times more as a sanitizer is granted.
        QVERIFY2(median < LoopStallProbe::budget / 8, qPrintable(QString::number(median.count())));
    }

private:
    static void sayOpening(Fixture& fixture, const QString& message) {
        if (message == u"opened") {
            fixture.event(0, message);
        } else if (message == u"AboutToShow") {
            const auto reply = fixture.panel.callMenu(message, {0});
            QCOMPARE(reply.arguments(), QVariantList{false});
        } else {
            const auto reply = fixture.panel.callMenu(message, {QVariant::fromValue(QList<int>{0})});
            QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        }
    }
};

QUILLO_TEST(DBusMenuTest, QCoreApplication)
#include "DBusMenuTest.moc"
