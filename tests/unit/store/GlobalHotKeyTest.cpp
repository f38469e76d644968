#include "store/GlobalHotKey.h"

#include "platform/desktop/ActivationToken.h"
#include "support/Wait.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

/// A desktop whose keys the test presses.
class ScriptedKeys final : public HotKeyService {
public:
    struct Log {
        QStringList events = {};
        QList<HotKeyChord> chords = {};
        QList<HotKeyIdentifier> identifiers = {};
        int registered = 0;
        bool taken = false;
        ScriptedKeys* service = nullptr;
    };

    explicit ScriptedKeys(Log& shared) : log(shared) { log.service = this; }

    std::unique_ptr<Registration> registerHotKey(const HotKeyChord& chord,
                                                 HotKeyIdentifier identifier) override {
        log.events << u"register"_s;
        log.chords << chord;
        log.identifiers << identifier;
        return log.taken ? nullptr : std::make_unique<Key>(log);
    }

    using HotKeyService::press;

private:
    class Key final : public Registration {
    public:
        explicit Key(Log& shared) : keyLog(shared) { ++keyLog.registered; }
        ~Key() override {
            --keyLog.registered;
            keyLog.events << u"unregister"_s;
        }

    private:
        Log& keyLog;
    };

    Log& log;
};

/// The hot key on a scripted desktop, and how often its callback was called.
struct Fixture {
    void registerR() {
        hotKey.register_(GlobalHotKey::keyR, GlobalHotKey::cmd | GlobalHotKey::shift, [this] { ++calls; });
    }

    ScriptedKeys::Log log = {};
    GlobalHotKey hotKey{std::make_unique<ScriptedKeys>(log)};
    int calls = 0;
};

} // namespace

// Others know the constants by their values.
static_assert(GlobalHotKey::keyR == 15 && GlobalHotKey::keyL == 37);
static_assert(GlobalHotKey::cmd == 256 && GlobalHotKey::shift == 512);
static_assert(GlobalHotKey::option == 2048 && GlobalHotKey::control == 4096);
static_assert(GlobalHotKey::identifier == HotKeyIdentifier{0x5155494C, 1});

class GlobalHotKeyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void commandShiftRIsControlShiftR() {
        Fixture fixture;
        fixture.registerR();
        QCOMPARE(fixture.log.chords.size(), 1);
        QVERIFY(
            (fixture.log.chords.constFirst() == HotKeyChord{'r', Qt::ControlModifier | Qt::ShiftModifier}));
        QVERIFY(fixture.log.identifiers.constFirst() == GlobalHotKey::identifier);
    }

    void everyModifierHasItsKey() {
        Fixture fixture;
        fixture.hotKey.register_(GlobalHotKey::keyL, GlobalHotKey::option | GlobalHotKey::control, [] {});
        QVERIFY((fixture.log.chords.constFirst() == HotKeyChord{'l', Qt::AltModifier | Qt::MetaModifier}));
    }

    void unknownKeyCodeOrModifierGivesNoHotKey() {
        Fixture fixture;
        fixture.hotKey.register_(0x7F, GlobalHotKey::cmd, [] {});
        fixture.hotKey.register_(GlobalHotKey::keyR, 1, [] {});
        QCOMPARE(fixture.log.events, QStringList());
        QVERIFY(!fixture.hotKey.isRegistered());
    }

    void callbackRunsOnALaterTurnThanThePress() {
        Fixture fixture;
        fixture.registerR();
        fixture.log.service->press(GlobalHotKey::identifier);
        QCOMPARE(fixture.calls, 0);
        QVERIFY(waitUntil([&] { return fixture.calls == 1; }));
    }

    void pressWithIdOneAndAnotherSignatureCounts() {
        Fixture fixture;
        fixture.registerR();
        fixture.log.service->press({0x41424344, 1});
        QVERIFY(waitUntil([&] { return fixture.calls == 1; }));
    }

    void pressWithAnotherIdDoesNotCount() {
        Fixture fixture;
        fixture.registerR();
        fixture.log.service->press({GlobalHotKey::identifier.signature, 2});
        drainEvents();
        QCOMPARE(fixture.calls, 0);
    }

    void activationTokenIsOfferedToTheCallback() {
        Fixture fixture;
        QString token;
        fixture.hotKey.register_(GlobalHotKey::keyR, GlobalHotKey::cmd,
                                 [&] { token = ActivationToken::take(); });
        fixture.log.service->press(GlobalHotKey::identifier, u"token"_s);
        QVERIFY(waitUntil([&] { return token == u"token"_s; }));
    }

    void registeringTwiceLeavesExactlyOneAndGivesTheFirstBackBefore() {
        Fixture fixture;
        fixture.registerR();
        int second = 0;
        fixture.hotKey.register_(GlobalHotKey::keyR, GlobalHotKey::cmd, [&] { ++second; });

        QCOMPARE(fixture.log.registered, 1);
        QCOMPARE(fixture.log.events, (QStringList{u"register"_s, u"unregister"_s, u"register"_s}));
        fixture.log.service->press(GlobalHotKey::identifier);
        QVERIFY(waitUntil([&] { return second == 1; }));
        QCOMPARE(fixture.calls, 0);
    }

    void offAndOnAgainRegistersAgainAndWorks() {
        Fixture fixture;
        fixture.registerR();
        fixture.hotKey.unregister();
        QVERIFY(!fixture.hotKey.isRegistered());
        QCOMPARE(fixture.log.registered, 0);
        fixture.registerR();
        QVERIFY(fixture.hotKey.isRegistered());

        fixture.log.service->press(GlobalHotKey::identifier);
        QVERIFY(waitUntil([&] { return fixture.calls == 1; }));
    }

    void unregisteringWithoutAHotKeyDoesNothingAndTheHandlerStays() {
        Fixture fixture;
        fixture.hotKey.unregister();
        QCOMPARE(fixture.log.events, QStringList());
        fixture.log.service->press(GlobalHotKey::identifier); // reaches the handler, which finds no callback
        drainEvents();
        fixture.registerR();
        fixture.log.service->press(GlobalHotKey::identifier);
        QVERIFY(waitUntil([&] { return fixture.calls == 1; }));
    }

    void pressOnItsWayCallsNobodyOnceUnregistered() {
        Fixture fixture;
        fixture.registerR();
        fixture.log.service->press(GlobalHotKey::identifier);
        fixture.hotKey.unregister();
        drainEvents();
        QCOMPARE(fixture.calls, 0);
    }

    void takenKeyIsSilentlyNone() {
        Fixture fixture;
        fixture.log.taken = true;
        fixture.registerR();
        QVERIFY(!fixture.hotKey.isRegistered());
    }

    void callbackMayRegisterAnew() {
        Fixture fixture;
        fixture.hotKey.register_(GlobalHotKey::keyR, GlobalHotKey::cmd, [&] { fixture.registerR(); });
        fixture.log.service->press(GlobalHotKey::identifier);
        QVERIFY(waitUntil([&] { return fixture.log.chords.size() == 2; }));
        fixture.log.service->press(GlobalHotKey::identifier);
        QVERIFY(waitUntil([&] { return fixture.calls == 1; }));
    }

    void sharedIsOneInstanceAndHarmlessWithoutAnyService() {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        auto& hotKey = GlobalHotKey::shared();
        QCOMPARE(&hotKey, &GlobalHotKey::shared());
        hotKey.register_(GlobalHotKey::keyR, GlobalHotKey::cmd | GlobalHotKey::shift, [] {});
        QVERIFY(!hotKey.isRegistered());
        hotKey.unregister();
    }
};

QTEST_MAIN(GlobalHotKeyTest)
#include "GlobalHotKeyTest.moc"
