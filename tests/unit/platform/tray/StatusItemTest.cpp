#include "platform/tray/StatusItem.h"

#include "ItemFixture.h"
#include "platform/tray/PaintedIcon.h"
#include "support/TestMain.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

class StatusItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(runtimeFolder.isValid());
        QFile::setPermissions(runtimeFolder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toUtf8());
        (void)squareIcons({u"creditcard"_s, {}, u"1"_s}, {}); // the first of a process loads fonts
    }

    void registersWithAWatcherThatIsThere() {
        ItemFixture fixture;
        fixture.startWatcher();
        fixture.item.show();
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.watcher.items(), QStringList{fixture.connection.baseService()});
    }

    void registersWithAWatcherThatComesLate() {
        ItemFixture fixture;
        fixture.item.show();
        (void)fixture.panel.takeSignals();
        QVERIFY(!fixture.item.isOnPanel());
        fixture.startWatcher();
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.watcher.items(), QStringList{fixture.connection.baseService()});
    }

    void registersOnceWithEachOfAHundredWatchers() {
        ItemFixture fixture;
        fixture.item.show();
        for (int round = 0; round < 100; ++round) {
            fixture.startWatcher();
            QVERIFY(fixture.becomesRegistered());
            QCOMPARE(fixture.watcher.items(), QStringList{fixture.connection.baseService()});
            fixture.stopWatcher();
            QVERIFY(waitUntil([&] { return !fixture.item.isOnPanel(); }));
        }
        QCOMPARE(fixture.signalNames(), QStringList());
    }

    void registersAnewWhenOneWatcherFollowsAnotherWithoutAGap() {
        ItemFixture fixture;
        fixture.showOnPanel();
        ScriptedWatcher second(fixture.bus.connect());
        fixture.stopWatcher();
        second.start();
        QVERIFY(waitUntil([&] { return second.items().size() == 1; }));
        QVERIFY(fixture.becomesRegistered());
    }

    void waitsInSilenceWhenNoWatcherEverComes() {
        ItemFixture fixture;
        fixture.item.show();
        QCOMPARE(fixture.panel.itemProperty(u"XAyatanaLabel"_s), u"$12.50"_s);
        QCOMPARE(fixture.signalNames(), QStringList());
        QVERIFY(!fixture.item.isOnPanel());
    }

    void isThereWhileTheWatcherIsStillSilent() {
        ItemFixture fixture;
        fixture.watcher.setAnswer(ScriptedWatcher::Answer::whenTold);
        fixture.startWatcher();
        fixture.item.show();
        QVERIFY(waitUntil([&] { return fixture.watcher.items().size() == 1; }));
        fixture.item.setFace(owed(u"$13.00"_s));
        QCOMPARE(fixture.panel.itemProperty(u"XAyatanaLabel"_s), u"$13.00"_s);
        QVERIFY(!fixture.item.isOnPanel());
        fixture.watcher.answerNow();
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.watcher.items().size(), 1);
    }

    void theLateAnswerOfAWatcherThatHasGoneCountsForNothing() {
        ItemFixture fixture;
        fixture.watcher.setAnswer(ScriptedWatcher::Answer::whenTold);
        fixture.startWatcher();
        fixture.item.show();
        QVERIFY(waitUntil([&] { return fixture.watcher.items().size() == 1; }));
        fixture.stopWatcher();
        fixture.watcher.answerNow();
        (void)fixture.panel.takeSignals();
        QVERIFY(!fixture.item.isOnPanel());
        fixture.watcher.setAnswer(ScriptedWatcher::Answer::atOnce);
        fixture.startWatcher();
        QVERIFY(fixture.becomesRegistered());
    }

    void asksAWatcherThatRefusedAgainOnceItHasAPanel() {
        ItemFixture fixture;
        fixture.watcher.setAnswer(ScriptedWatcher::Answer::withError);
        fixture.startWatcher();
        fixture.item.show();
        QVERIFY(waitUntil([&] { return fixture.watcher.items().size() == 1; }));
        (void)fixture.panel.takeSignals();
        QVERIFY(!fixture.item.isOnPanel());
        fixture.watcher.setAnswer(ScriptedWatcher::Answer::atOnce);
        fixture.watcher.announceHost();
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.watcher.items().size(), 2);
        fixture.watcher.announceHost();
        (void)fixture.panel.takeSignals();
        QCOMPARE(fixture.watcher.items().size(), 2);
    }

    void aClosedConnectionShowsNothingAndHarmsNothing() {
        StatusItem item(QDBusConnection(u"nowhere"_s));
        item.setFace(owed(u"$1"_s));
        item.setMenu({});
        item.show();
        item.setFace(owed(u"$2"_s));
        drainEvents();
        QVERIFY(!item.isOnPanel());
    }

    void survivesTheEndOfTheBus() {
        PrivateBus bus;
        StatusItem item(bus.connect());
        item.setFace(owed(u"$1"_s));
        item.show();
        drainEvents();
        bus.kill();
        item.setFace(owed(u"$2"_s));
        drainEvents();
        QVERIFY(!item.isOnPanel());
    }

    void twoProgramsAreTwoItems() {
        ItemFixture fixture;
        fixture.showOnPanel();
        const auto connection = fixture.bus.connect();
        StatusItem second(connection);
        second.setFace(owed(u"$7.00"_s));
        second.show();
        QVERIFY(waitUntil([&] { return second.isOnPanel(); }));
        QCOMPARE(fixture.watcher.items(),
                 (QStringList{fixture.connection.baseService(), connection.baseService()}));
        QCOMPARE(fixture.panel.itemProperty(u"XAyatanaLabel"_s), u"$12.50"_s);
    }

    void anItemThatGoesLeavesTheBus() {
        PrivateBus bus;
        auto connection = bus.connect();
        {
            StatusItem item(connection);
            item.show();
        }
        StatusItem next(connection);
        next.setFace(owed(u"$3.00"_s));
        next.show();
        ItemProxy panel(bus.connect(), connection.baseService());
        QCOMPARE(panel.itemProperty(u"XAyatanaLabel"_s), u"$3.00"_s);
    }

    void saysWhatPanelsAsk() {
        ItemFixture fixture;
        fixture.item.show();
        const auto properties = fixture.panel.itemProperties();
        QCOMPARE(properties.value(u"Id"_s), u"quillo"_s);
        QCOMPARE(properties.value(u"Category"_s), u"ApplicationStatus"_s);
        QCOMPARE(properties.value(u"Status"_s), u"Active"_s);
        QCOMPARE(properties.value(u"Title"_s), u"Quillo"_s);
        QCOMPARE(properties.value(u"WindowId"_s), 0);
        QCOMPARE(properties.value(u"ItemIsMenu"_s), true);
        QCOMPARE(properties.value(u"Menu"_s).value<QDBusObjectPath>().path(), u"/MenuBar"_s);
        QCOMPARE(properties.value(u"IconName"_s), u"quillo-creditcard-symbolic"_s);
        QCOMPARE(properties.value(u"XAyatanaLabel"_s), u"$12.50"_s);
        QCOMPARE(properties.value(u"XAyatanaLabelGuide"_s), u"$88.88"_s);
        const auto toolTip = qdbus_cast<dbus::ToolTip>(properties.value(u"ToolTip"_s));
        QCOMPARE(toolTip.title, u"$12.50"_s);
        QVERIFY(qdbus_cast<dbus::Pixmaps>(properties.value(u"IconPixmap"_s)).isEmpty());
        QVERIFY(QFile::exists(properties.value(u"IconThemePath"_s).toString() +
                              u"/quillo-creditcard-symbolic.svg"_s));
        QCOMPARE(fixture.panel.layout().root.children.size(), 1);
    }

    void announcesANewTextToBothKindsOfListeners() {
        ItemFixture fixture;
        fixture.showOnPanel();
        fixture.item.setFace(owed(u"$1,999.00"_s));
        const auto sent = fixture.panel.takeSignals();
        QCOMPARE(sent.size(), 3U);
        const auto find = [&sent](const QString& member) {
            const auto found = std::find_if(sent.begin(), sent.end(),
                                            [&](const auto& message) { return message.member() == member; });
            return found == sent.end() ? QVariantList() : found->arguments();
        };
        QCOMPARE(find(u"XAyatanaNewLabel"_s), (QVariantList{u"$1,999.00"_s, u"$8,888.88"_s}));
        const auto properties = find(u"PropertiesChanged"_s);
        QCOMPARE(properties.value(0), u"org.kde.StatusNotifierItem"_s);
        const auto changed = qdbus_cast<QVariantMap>(properties.value(1));
        QCOMPARE(changed.keys(), (QStringList{u"ToolTip"_s, u"XAyatanaLabel"_s, u"XAyatanaLabelGuide"_s}));
        QCOMPARE(changed.value(u"XAyatanaLabel"_s), u"$1,999.00"_s);
        QCOMPARE(qdbus_cast<dbus::ToolTip>(changed.value(u"ToolTip"_s)).title, u"$1,999.00"_s);
        QCOMPARE(fixture.panel.itemProperty(u"XAyatanaLabel"_s), u"$1,999.00"_s);
    }

    void announcesANewSymbolAlone() {
        ItemFixture fixture;
        fixture.showOnPanel();
        fixture.item.setFace({.symbol = u"exclamationmark.circle"_s, .text = u"$12.50"_s});
        const auto sent = fixture.panel.takeSignals();
        QCOMPARE(sent.size(), 2U);
        QCOMPARE(sent[0].member(), u"NewIcon"_s);
        QCOMPARE(qdbus_cast<QVariantMap>(sent[1].arguments().value(1)),
                 (QVariantMap{{u"IconName"_s, u"quillo-exclamationmark-circle-symbolic"_s}}));
    }

    void theSameContentSendsNothing() {
        ItemFixture fixture;
        fixture.showOnPanel();
        for (int round = 0; round < 100; ++round) {
            fixture.item.setFace(owed(u"$12.50"_s));
            fixture.item.setMenu({{.kind = MenuEntry::Kind::button, .key = u"quit"_s, .text = u"Quit"_s}});
            drainEvents();
        }
        QCOMPARE(fixture.signalNames(), QStringList());
    }

    void aTextThatLooksTheSameOnPanelsSendsNothing() {
        ItemFixture fixture;
        fixture.item.setFace(owed(u"a b"_s));
        fixture.showOnPanel();
        fixture.item.setFace(owed(u"a\nb"_s));
        QCOMPARE(fixture.signalNames(), QStringList());
    }

    void anyTextReachesThePanelAsHarmlessPlainText_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("label");
        QTest::newRow("markup") << u"<b>AT&T</b> _x_"_s << u"<b>AT&T</b> _x_"_s;
        QTest::newRow("NUL") << u"a"_s + QChar(u'\0') + u"b"_s << u"a b"_s;
        QTest::newRow("line break") << u"a\nb"_s << u"a b"_s;
        QTest::newRow("direction override") << u"a\u202Eb"_s << u"ab"_s;
        QTest::newRow("half a character") << u"a"_s + QChar(0xDC00) << u"a\uFFFD"_s;
        QTest::newRow("ten thousand characters") << QString(10'000, u'x') << QString(499, u'x') + QChar(u'…');
        QTest::newRow("empty") << QString() << QString();
    }

    void anyTextReachesThePanelAsHarmlessPlainText() {
        QFETCH(QString, text);
        QFETCH(QString, label);
        ItemFixture fixture;
        fixture.showOnPanel();
        fixture.item.setFace(owed(text));
        QCOMPARE(fixture.panel.itemProperty(u"XAyatanaLabel"_s).toString(), label);
        const auto toolTip = qdbus_cast<dbus::ToolTip>(fixture.panel.itemProperty(u"ToolTip"_s));
        QVERIFY(!toolTip.title.contains(u'<'));
    }

    void aClickAsksForTheProgramsOwnMenuWhereThePanelShowsNone() {
        ItemFixture fixture;
        QSignalSpy requests(&fixture.item, &StatusItem::menuRequested);
        fixture.showOnPanel();
        QCOMPARE(fixture.panel.callItem(u"Activate"_s, {30, 40}).type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&] { return requests.count() == 1; }));
        QCOMPARE(fixture.panel.callItem(u"ContextMenu"_s, {1, 2}).type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&] { return requests.count() == 2; }));
    }

    void otherClicksAndTheWheelDoNothing() {
        ItemFixture fixture;
        QSignalSpy requests(&fixture.item, &StatusItem::menuRequested);
        fixture.showOnPanel();
        QCOMPARE(fixture.panel.callItem(u"SecondaryActivate"_s, {1, 2}).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(fixture.panel.callItem(u"XAyatanaSecondaryActivate"_s, {7U}).type(),
                 QDBusMessage::ReplyMessage);
        for (const auto& direction : {u"vertical"_s, u"Vertical"_s, u"horizontal"_s}) {
            QCOMPARE(fixture.panel.callItem(u"Scroll"_s, {120, direction}).type(),
                     QDBusMessage::ReplyMessage);
        }
        drainEvents();
        QCOMPARE(requests.count(), 0);
    }

    void handsOnTheTokenThatComesWithAClick() {
        ItemFixture fixture;
        QSignalSpy tokens(&fixture.item, &StatusItem::activationTokenReceived);
        fixture.showOnPanel();
        (void)fixture.panel.callItem(u"ProvideXdgActivationToken"_s, {u"token-1"_s});
        QVERIFY(waitUntil([&] { return tokens.count() == 1; }));
        QCOMPARE(tokens[0][0].toString(), u"token-1"_s);
    }

    void saysWhenTheMenuBeganTracking() {
        ItemFixture fixture;
        QSignalSpy tracking(&fixture.item, &StatusItem::menuBeganTracking);
        fixture.showOnPanel();
        (void)fixture.panel.callMenu(u"AboutToShow"_s, {0});
        QVERIFY(waitUntil([&] { return tracking.count() == 1; }));
    }

    void plasmaIsRefusedAClickSoThatItOpensTheMenuItself_data() {
        QTest::addColumn<QString>("program");
        for (const auto& program : {u"kded5"_s, u"kded6"_s}) {
            QTest::newRow(qPrintable(program)) << program;
        }
    }

    void plasmaIsRefusedAClickSoThatItOpensTheMenuItself() {
        QFETCH(QString, program);
        ItemFixture fixture;
        QSignalSpy requests(&fixture.item, &StatusItem::menuRequested);
        fixture.item.show();
        const PanelProcess panel(fixture, program);
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.item.textWay(), TextWay::square);
        QCOMPARE(fixture.panel.callItem(u"Activate"_s, {0, 0}).type(), QDBusMessage::ErrorMessage);
        drainEvents();
        QCOMPARE(requests.count(), 0);
        QCOMPARE(fixture.panel.itemProperty(u"Title"_s), u"$12.50"_s);
    }

    void whatGnomeAsksAtRegistrationIsNoOpening() {
        ItemFixture fixture;
        QSignalSpy tracking(&fixture.item, &StatusItem::menuBeganTracking);
        fixture.item.show();
        const PanelProcess panel(fixture, u"gnome-shell"_s);
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.item.textWay(), TextWay::label);
        (void)fixture.panel.callMenu(u"AboutToShow"_s, {0});
        drainEvents();
        QCOMPARE(tracking.count(), 0);
        (void)fixture.panel.callMenu(u"Event"_s, {0, u"opened"_s, QVariant::fromValue(QDBusVariant(0)), 0U});
        (void)fixture.panel.callMenu(u"AboutToShow"_s, {0});
        drainEvents();
        QCOMPARE(tracking.count(), 1);
    }

    void gnomeShowsEachUnderscoreOfAMerchantsNameOnce() {
        ItemFixture fixture;
        fixture.item.setMenu({{.key = u"1"_s, .text = u"SQ_COFFEE_BAR_12"_s}});
        fixture.item.show();
        const PanelProcess panel(fixture, u"gnome-shell"_s);
        QVERIFY(fixture.becomesRegistered());
        // Of this label it takes the first underscore away, and shows all others.
        QVERIFY(fixture.panel.idOf(u"SQ__COFFEE_BAR_12"_s) > 0);
    }

    void anotherPanelIsTakenForWhatItIs() {
        ItemFixture fixture;
        fixture.item.show();
        {
            const PanelProcess plasma(fixture, u"kded6"_s);
            QVERIFY(fixture.becomesRegistered());
            QCOMPARE(fixture.panel.itemProperty(u"Title"_s), u"$12.50"_s);
        }
        QVERIFY(waitUntil([&] { return !fixture.item.isOnPanel(); }));
        const PanelProcess indicators(fixture, u"ayatana-indicator-application-service"_s);
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.item.textWay(), TextWay::label);
        QCOMPARE(fixture.panel.itemProperty(u"Title"_s), u"Quillo"_s);
        QCOMPARE(fixture.panel.callItem(u"Activate"_s, {0, 0}).type(), QDBusMessage::ReplyMessage);
    }

private:
    QTemporaryDir runtimeFolder;
};

QUILLO_TEST(StatusItemTest, QGuiApplication)
#include "StatusItemTest.moc"
