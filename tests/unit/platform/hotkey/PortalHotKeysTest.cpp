#include "platform/hotkey/PortalHotKeys.h"

#include "platform/hotkey/ScriptedPortal.h"
#include "support/ChildProcess.h"
#include "support/PrivateBus.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

constexpr HotKeyChord controlShiftR{'r', Qt::ControlModifier | Qt::ShiftModifier};
constexpr HotKeyIdentifier identifier{0x5155494C, 1};
const QString applicationId = u"app.quillo.Quillo.Test"_s;
const QString openLedger = u"open-ledger"_s;
const QString frontEndProgram = u"/usr/libexec/xdg-desktop-portal"_s;
const QString portalService = u"org.freedesktop.portal.Desktop"_s;

/// Hot keys on a bus of the test's own, and what was pressed.
struct Keys {
    Keys() {
        keys.installHandler([this](const HotKeyPress& press) {
            QVERIFY(press.identifier == identifier);
            tokens << press.activationToken;
        });
    }

    void registerKey() { registration = keys.registerHotKey(controlShiftR, identifier); }

    /// Lets what was sent before arrive, by several exchanges with the bus, which keeps the order.
    void settle() {
        for (int turn = 0; turn < 10; ++turn) {
            QDBusPendingReply<QString> answer = observer.interface()->asyncCall(u"GetId"_s);
            const bool answered = waitUntil([&] { return answer.isFinished(); });
            if (!answered) {
                qFatal("the bus does not answer");
            }
            drainEvents();
        }
    }

    PrivateBus bus = {};
    QDBusConnection observer = bus.connect();
    PortalHotKeys keys{bus.connect(), applicationId};
    std::unique_ptr<HotKeyService::Registration> registration = {};
    QStringList tokens = {};
};

/// The real front end of the portal, with a scripted desktop behind it.
struct Desktop : Keys {
    Desktop() {
        QFile description(folder.filePath(u"quillotest.portal"_s));
        if (!description.open(QIODevice::WriteOnly)) {
            qFatal("no temporary folder for a portal");
        }
        description.write("[portal]\nDBusName=" + ScriptedBackEnd::service().toUtf8() +
                          "\nInterfaces=org.freedesktop.impl.portal.GlobalShortcuts;\nUseIn=quillotest\n");
        description.close();
        startFrontEnd();
    }

    [[nodiscard]] QProcessEnvironment environment() const {
        auto variables = bus.environment();
        variables.insert(u"XDG_DESKTOP_PORTAL_DIR"_s, folder.path());
        variables.insert(u"XDG_CURRENT_DESKTOP"_s, u"quillotest"_s);
        return variables;
    }

    void startFrontEnd() {
        frontEnd.emplace(frontEndProgram, QStringList(), environment());
        const bool appeared = waitUntil([this] { return portalRuns(); });
        if (!appeared) {
            qFatal("the portal does not appear");
        }
    }

    void stopFrontEnd() {
        frontEnd.reset();
        const bool gone = waitUntil([this] { return !portalRuns(); });
        if (!gone) {
            qFatal("the portal does not go");
        }
        settle();
    }

    void restartFrontEnd() {
        stopFrontEnd();
        startFrontEnd();
    }

    [[nodiscard]] bool portalRuns() {
        return observer.interface()->isServiceRegistered(portalService).value();
    }

    /// Registers the key and waits until it works; leaves it released.
    [[nodiscard]] bool registerAndUse() {
        registerKey();
        return useUntilNoticed();
    }

    [[nodiscard]] bool useUntilNoticed() {
        const auto before = tokens.size();
        bool noticed = waitUntil([&] {
            if (!backEnd.session.isEmpty()) {
                backEnd.activate(openLedger);
                backEnd.deactivate(openLedger);
            }
            drainEvents();
            return tokens.size() > before;
        });
        // Presses arrive in their order: after this one, none of those above is still on its way.
        const auto last = u"settled"_s;
        backEnd.activate(openLedger, {{u"activation_token"_s, last}});
        backEnd.deactivate(openLedger);
        noticed = noticed && waitUntil([&] { return tokens.contains(last); });
        settle();
        tokens.clear();
        return noticed;
    }

    [[nodiscard]] QString sessionToken() const { return backEnd.session.section(u'/', -1); }

    QTemporaryDir folder = {};
    ScriptedBackEnd backEnd{bus.connect()};
    std::optional<ChildProcess> frontEnd = {};
};

} // namespace

class PortalHotKeysTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void shortcutIsGivenAtTheSessionsCreationAndAtBinding() {
        Desktop desktop;
        QVERIFY(desktop.registerAndUse());
        QCOMPARE(desktop.backEnd.bindings, 1);
        for (const auto& asked : {desktop.backEnd.atCreation, desktop.backEnd.atBinding}) {
            QCOMPARE(asked.size(), 1);
            QCOMPARE(asked.constFirst().id, openLedger);
            const auto& properties = asked.constFirst().properties;
            QCOMPARE(properties.value(u"preferred_trigger"_s), u"CTRL+SHIFT+r"_s);
            QCOMPARE(properties.value(u"description"_s), u"Open the ledger"_s);
        }
    }

    void pressPassesTheActivationTokenOn() {
        Desktop desktop;
        QVERIFY(desktop.registerAndUse());
        desktop.backEnd.activate(openLedger, {{u"activation_token"_s, u"token"_s}});
        QVERIFY(waitUntil([&] { return !desktop.tokens.isEmpty(); }));
        QCOMPARE(desktop.tokens, QStringList{u"token"_s});
    }

    void heldKeyIsPressedOnce() {
        Desktop desktop;
        QVERIFY(desktop.registerAndUse());
        for (int repeats = 0; repeats < 5; ++repeats) {
            desktop.backEnd.activate(openLedger, {{u"activation_token"_s, QString::number(repeats)}});
        }
        desktop.backEnd.deactivate(openLedger);
        desktop.backEnd.activate(openLedger, {{u"activation_token"_s, u"again"_s}});
        QVERIFY(waitUntil([&] { return desktop.tokens.contains(u"again"_s); }));
        QCOMPARE(desktop.tokens, (QStringList{u"0"_s, u"again"_s}));
    }

    void anotherShortcutsPressDoesNotCount() {
        Desktop desktop;
        QVERIFY(desktop.registerAndUse());
        desktop.backEnd.activate(u"another"_s);
        desktop.backEnd.activate(openLedger, {{u"activation_token"_s, u"ours"_s}});
        QVERIFY(waitUntil([&] { return !desktop.tokens.isEmpty(); }));
        QCOMPARE(desktop.tokens, QStringList{u"ours"_s});
    }

    void deniedSessionIsHarmlessAndNotAskedForAgain() {
        Keys keys;
        std::optional<ScriptedFrontEnd> frontEnd(keys.bus.connect());
        frontEnd->onCreate = [&](const QDBusMessage& call) { frontEnd->respond(call, 1, {}); };
        keys.registerKey();
        QVERIFY(waitUntil([&] { return frontEnd->calls.contains(u"Close"_s); }));
        QVERIFY(!frontEnd->calls.contains(u"BindShortcuts"_s));

        frontEnd.emplace(keys.bus.connect());
        keys.settle();
        QCOMPARE(frontEnd->calls, QStringList());
    }

    void answerWithoutTheShortcutMeansNotBound_data() {
        QTest::addColumn<uint>("response");
        QTest::addColumn<bool>("empty");
        QTest::newRow("cancelled") << 1u << false;
        QTest::newRow("failed") << 2u << false;
        QTest::newRow("empty") << 0u << true;
        QTest::newRow("another") << 0u << false;
    }
    void answerWithoutTheShortcutMeansNotBound() {
        QFETCH(const uint, response);
        QFETCH(const bool, empty);
        Desktop desktop;
        desktop.backEnd.bindResponse = response;
        desktop.backEnd.bound =
            empty ? portal::Shortcuts() : portal::Shortcuts{{response == 0 ? u"another"_s : openLedger, {}}};
        desktop.registerKey();
        // The session is given back, and with it the key.
        QVERIFY(waitUntil([&] { return desktop.backEnd.closed == 1; }));
        desktop.backEnd.activate(openLedger);
        desktop.settle();
        QCOMPARE(desktop.tokens, QStringList());
    }

    void endedRegistrationGivesTheKeyBack() {
        Desktop desktop;
        QVERIFY(desktop.registerAndUse());
        desktop.registration.reset();
        QVERIFY(waitUntil([&] { return desktop.backEnd.closed == 1; }));
        desktop.backEnd.activate(openLedger);
        desktop.settle();
        QCOMPARE(desktop.tokens, QStringList());
        QVERIFY(desktop.registerAndUse());
    }

    void registrationThatEndsWhileTheUserIsAskedGivesTheSessionBack() {
        Desktop desktop;
        desktop.backEnd.answersBind = false;
        desktop.registerKey();
        QVERIFY(waitUntil([&] { return desktop.backEnd.bindings == 1; }));
        desktop.registration.reset();
        // The request is closed, and the session.
        QVERIFY(waitUntil([&] { return desktop.backEnd.closed == 2; }));
    }

    void portalThatVanishesAndComesBackIsAskedAgain() {
        Desktop desktop;
        QVERIFY(desktop.registerAndUse());
        desktop.backEnd.activate(openLedger);
        QVERIFY(waitUntil([&] { return desktop.tokens.size() == 1; }));
        const auto token = desktop.sessionToken();
        desktop.backEnd.session.clear();
        desktop.restartFrontEnd();
        // The key that was down when the portal vanished counts as released.
        QVERIFY(desktop.useUntilNoticed());
        QCOMPARE(desktop.backEnd.created, 2);
        QCOMPARE(desktop.backEnd.bindings, 2);
        QCOMPARE(desktop.sessionToken(), token);
    }

    void everyStartUsesTheSameSessionTokenSoThatTheDesktopRemembersOneKey() {
        QStringList tokens;
        for (int start = 0; start < 2; ++start) {
            Desktop desktop;
            QVERIFY(desktop.registerAndUse());
            tokens << desktop.sessionToken();
            desktop.registration.reset();
            QVERIFY(waitUntil([&] { return desktop.backEnd.closed == 1; }));
            QVERIFY(desktop.registerAndUse());
            tokens << desktop.sessionToken();
        }
        QCOMPARE(tokens.count(tokens.constFirst()), 4);
    }

    void shortcutWithoutAKeyWorksOnceItHasOneAndIsAskedForAgainWithTheNextPortal() {
        Desktop desktop;
        desktop.backEnd.bound = portal::Shortcuts{{openLedger, {{u"trigger_description"_s, u""_s}}}};
        QVERIFY(desktop.registerAndUse());
        QCOMPARE(desktop.backEnd.closed, 0);
        desktop.backEnd.bound = portal::Shortcuts{{openLedger, {{u"trigger_description"_s, u"Meta+R"_s}}}};
        desktop.backEnd.session.clear();
        desktop.restartFrontEnd();
        QVERIFY(desktop.useUntilNoticed());
        QCOMPARE(desktop.backEnd.bindings, 2);
    }

    void portalThatIsReplacedByAnotherIsAskedAgain() {
        Desktop desktop;
        QVERIFY(desktop.registerAndUse());
        desktop.backEnd.session.clear();
        const ChildProcess next(frontEndProgram, {u"--replace"_s}, desktop.environment());
        QVERIFY(desktop.useUntilNoticed());
        QCOMPARE(desktop.backEnd.bindings, 2);
    }

    void everyPortalIsToldWhoAsksBeforeItIsAsked() {
        Keys keys;
        keys.registerKey();
        keys.settle();
        for (int round = 0; round < 2; ++round) {
            ScriptedFrontEnd frontEnd(keys.bus.connect());
            QVERIFY(waitUntil([&] { return frontEnd.calls.contains(u"CreateSession"_s); }));
            // The question to the one before was taken back, too late for it.
            frontEnd.calls.removeAll(u"Close"_s);
            QCOMPARE(frontEnd.calls, (QStringList{u"Register"_s, u"CreateSession"_s}));
        }
    }

    void portalThatComesLaterIsAskedThen() {
        Desktop desktop;
        desktop.stopFrontEnd();
        desktop.registerKey();
        desktop.settle();
        QCOMPARE(desktop.backEnd.created, 0);
        desktop.startFrontEnd();
        QVERIFY(desktop.useUntilNoticed());
    }

    void portalWithoutGlobalShortcutsIsHarmless() {
        Keys keys;
        ScriptedFrontEnd frontEnd(keys.bus.connect());
        frontEnd.refusesCalls = true;
        keys.registerKey();
        QVERIFY(waitUntil([&] { return frontEnd.calls.contains(u"CreateSession"_s); }));
        keys.settle();
        QVERIFY(!frontEnd.calls.contains(u"BindShortcuts"_s));
        keys.registration.reset();
    }

    void portalThatAnswersTwiceIsHeardOnce() {
        Keys keys;
        ScriptedFrontEnd frontEnd(keys.bus.connect());
        const QVariantMap bound{{u"shortcuts"_s, QVariant::fromValue(portal::Shortcuts{{openLedger, {}}})}};
        QString session;
        frontEnd.onCreate = [&](const QDBusMessage& call) {
            session = ScriptedFrontEnd::sessionOf(call);
            frontEnd.respond(call, 0, {{u"session_handle"_s, session}});
            frontEnd.respond(call, 2, {});
            frontEnd.respond(call, 0, {{u"session_handle"_s, u"/another"_s}});
        };
        frontEnd.onBind = [&](const QDBusMessage& call) {
            frontEnd.respond(call, 0, bound);
            frontEnd.respond(call, 0, bound);
            frontEnd.respond(call, 1, {});
        };
        keys.registerKey();
        QVERIFY(waitUntil([&] { return frontEnd.calls.contains(u"BindShortcuts"_s); }));
        keys.settle();
        frontEnd.activate(session);
        QVERIFY(waitUntil([&] { return keys.tokens.size() == 1; }));
        QCOMPARE(frontEnd.calls.count(u"BindShortcuts"_s), 1);
        QCOMPARE(frontEnd.calls.count(u"Close"_s), 0);
    }

    void sessionThatMakesNoSenseIsNoHotKey_data() {
        QTest::addColumn<QVariantMap>("created");
        QTest::newRow("none") << QVariantMap();
        QTest::newRow("no path") << QVariantMap{{u"session_handle"_s, u"not a path"_s}};
        QTest::newRow("another path") << QVariantMap{{u"session_handle"_s, u"/session"_s}};
        QTest::newRow("number") << QVariantMap{{u"session_handle"_s, 1}};
    }
    void sessionThatMakesNoSenseIsNoHotKey() {
        QFETCH(const QVariantMap, created);
        QTest::failOnWarning(QRegularExpression(u"."_s));
        Keys keys;
        ScriptedFrontEnd frontEnd(keys.bus.connect());
        frontEnd.onCreate = [&](const QDBusMessage& call) { frontEnd.respond(call, 0, created); };
        keys.registerKey();
        QVERIFY(waitUntil([&] { return frontEnd.calls.contains(u"Close"_s); }));
        QVERIFY(!frontEnd.calls.contains(u"BindShortcuts"_s));
    }

    void bindingThatMakesNoSenseIsNoHotKey_data() {
        QTest::addColumn<QVariantMap>("bound");
        QTest::newRow("nothing") << QVariantMap();
        QTest::newRow("text") << QVariantMap{{u"shortcuts"_s, openLedger}};
        QTest::newRow("texts") << QVariantMap{{u"shortcuts"_s, QStringList{openLedger}}};
    }
    void bindingThatMakesNoSenseIsNoHotKey() {
        QFETCH(const QVariantMap, bound);
        QTest::failOnWarning(QRegularExpression(u"."_s));
        Keys keys;
        ScriptedFrontEnd frontEnd(keys.bus.connect());
        QString session;
        frontEnd.onCreate = [&](const QDBusMessage& call) {
            session = ScriptedFrontEnd::sessionOf(call);
            frontEnd.respond(call, 0, {{u"session_handle"_s, session}});
        };
        frontEnd.onBind = [&](const QDBusMessage& call) { frontEnd.respond(call, 0, bound); };
        keys.registerKey();
        QVERIFY(waitUntil([&] { return frontEnd.calls.contains(u"Close"_s); }));
        frontEnd.activate(session);
        keys.settle();
        QCOMPARE(keys.tokens, QStringList());
    }

    void answerAfterTheEndIsHarmless() {
        Keys keys;
        ScriptedFrontEnd frontEnd(keys.bus.connect());
        std::optional<QDBusMessage> asked;
        frontEnd.onCreate = [&](const QDBusMessage& call) { asked = call; };
        keys.registerKey();
        QVERIFY(waitUntil([&] { return asked.has_value(); }));
        keys.registration.reset();
        frontEnd.respond(*asked, 0, {{u"session_handle"_s, ScriptedFrontEnd::sessionOf(*asked)}});
        keys.settle();
        QVERIFY(!frontEnd.calls.contains(u"BindShortcuts"_s));
    }

    void noPortalIsHarmless() {
        Keys keys;
        keys.registerKey();
        QVERIFY(keys.registration);
        keys.settle();
        keys.registration.reset();
    }

    void noSessionBusIsNoHotKey() {
        PortalHotKeys keys(QDBusConnection::connectToBus(u"unix:path=/nonexistent"_s, u"no-bus"_s),
                           applicationId);
        QVERIFY(!keys.registerHotKey(controlShiftR, identifier));
    }

    void busThatGoesAwayIsHarmless() {
        Keys keys;
        keys.registerKey();
        keys.bus.kill();
        QVERIFY(waitUntil([&] { return !keys.observer.isConnected(); }));
        keys.registration.reset();
    }
};

QUILLO_TEST(PortalHotKeysTest, QCoreApplication)
#include "PortalHotKeysTest.moc"
