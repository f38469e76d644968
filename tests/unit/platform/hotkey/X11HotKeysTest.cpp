#include "platform/hotkey/X11HotKeys.h"

#include "platform/hotkey/X11Keyboard.h"
#include "support/ChildProcess.h"
#include "support/TestMain.h"
#include "support/VirtualDisplay.h"
#include "support/Wait.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

constexpr HotKeyChord controlShiftR{'r', Qt::ControlModifier | Qt::ShiftModifier};
constexpr HotKeyIdentifier identifier{0x5155494C, 1};

// Key codes of Xvfb's keyboard: the keys that type R and O on an American one.
const QString keyOfR = u"27"_s;
const QString keyOfO = u"32"_s;

/// The keys of a display of the test's own, and how often the registered one was pressed.
struct Keyboard {
    Keyboard() {
        keys.installHandler([this](const HotKeyPress& press) {
            QVERIFY(press.identifier == identifier);
            ++presses;
        });
    }

    void press(const QString& key) const { display.run(u"xdotool"_s, {u"key"_s, u"ctrl+shift+"_s + key}); }
    void hold(const QString& key) const { display.run(u"xdotool"_s, {u"keydown"_s, key}); }
    void release(const QString& key) const { display.run(u"xdotool"_s, {u"keyup"_s, key}); }
    void setLayout(const QString& layout) const { display.run(u"setxkbmap"_s, {layout}); }

    /// Presses the key until that is noticed, for a change that takes effect at a time the test cannot see.
    [[nodiscard]] bool pressUntilNoticed(const QString& key) const {
        const int before = presses;
        return waitUntil([&] {
            press(key);
            drainEvents();
            return presses > before;
        });
    }

    VirtualDisplay display = {};
    X11HotKeys keys{display.name().toLatin1()};
    int presses = 0;
};

} // namespace

class X11HotKeysTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keyWorksWhileAnotherProgramHasTheFocus() {
        Keyboard keyboard;
        ChildProcess other(u"xev"_s, {u"-event"_s, u"keyboard"_s, u"-name"_s, u"other program"_s},
                           keyboard.display.environment());
        keyboard.display.run(u"xdotool"_s, {u"search"_s, u"--sync"_s, u"--onlyvisible"_s, u"--name"_s,
                                            u"other program"_s, u"windowfocus"_s, u"--sync"_s});
        const auto registration = keyboard.keys.registerHotKey(controlShiftR, identifier);
        QVERIFY(registration);

        keyboard.press(u"r"_s);
        QVERIFY(waitUntil([&] { return keyboard.presses == 1; }));
        keyboard.press(u"r"_s);
        QVERIFY(waitUntil([&] { return keyboard.presses == 2; }));
    }

    void otherKeysAreLeftToOtherPrograms() {
        Keyboard keyboard;
        const auto registration = keyboard.keys.registerHotKey(controlShiftR, identifier);
        for (const auto& key :
             {u"r"_s, u"ctrl+r"_s, u"shift+r"_s, u"ctrl+shift+alt+r"_s, u"ctrl+shift+l"_s}) {
            keyboard.display.run(u"xdotool"_s, {u"key"_s, key});
        }
        keyboard.press(u"r"_s);
        QVERIFY(waitUntil([&] { return keyboard.presses > 0; }));
        QCOMPARE(keyboard.presses, 1);
    }

    void keyWorksWithAnyLockOn() {
        Keyboard keyboard;
        // Not a modifier on every keyboard; here it is.
        keyboard.display.run(u"xmodmap"_s, {u"-e"_s, u"add mod3 = Scroll_Lock"_s});
        const auto registration = keyboard.keys.registerHotKey(controlShiftR, identifier);
        int expected = 0;
        const auto works = [&] {
            keyboard.press(keyOfR);
            ++expected;
            return waitUntil([&] { return keyboard.presses == expected; });
        };
        keyboard.display.run(u"xdotool"_s, {u"key"_s, u"Caps_Lock"_s});
        QVERIFY(works());
        keyboard.display.run(u"xdotool"_s, {u"key"_s, u"Num_Lock"_s});
        QVERIFY(works());
        keyboard.hold(u"Scroll_Lock"_s);
        QVERIFY(works());
        keyboard.display.run(u"xdotool"_s, {u"key"_s, u"Caps_Lock"_s});
        QVERIFY(works());
        QCOMPARE(keyboard.presses, expected);
    }

    void heldKeyIsPressedOnce() {
        Keyboard keyboard;
        keyboard.display.run(u"xset"_s, {u"r"_s, u"rate"_s, u"50"_s, u"100"_s});
        ChildProcess raw(u"xinput"_s, {u"test-xi2"_s, u"--root"_s}, keyboard.display.environment());
        const auto registration = keyboard.keys.registerHotKey(controlShiftR, identifier);
        keyboard.hold(u"ctrl"_s);
        keyboard.hold(u"shift"_s);
        keyboard.hold(keyOfR);
        // The keyboard repeats, as a program that looks past grabs can see.
        for (int repeats = 0; repeats < 10; repeats += raw.readLine() == "detail: 27" ? 1 : 0) {
        }
        QCOMPARE(keyboard.presses, 1);
        keyboard.release(keyOfR);
        keyboard.hold(keyOfR);
        QVERIFY(waitUntil([&] { return keyboard.presses == 2; }));
    }

    void keyThatAnotherProgramHasIsSilentlyNone() {
        Keyboard keyboard;
        X11HotKeys others(keyboard.display.name().toLatin1());
        auto taken = others.registerHotKey(controlShiftR, identifier);
        QVERIFY(taken);
        QVERIFY(!keyboard.keys.registerHotKey(controlShiftR, identifier));

        taken.reset();
        const auto registration = keyboard.keys.registerHotKey(controlShiftR, identifier);
        QVERIFY(registration);
        QVERIFY(keyboard.pressUntilNoticed(u"r"_s));
    }

    void keyTakenInPartIsLeftAltogether() {
        Keyboard keyboard;
        const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> other(
            xcb_connect(keyboard.display.name().toLatin1().constData(), nullptr), &xcb_disconnect);
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(other.get())).data->root;
        const auto cookie = xcb_grab_key_checked(
            other.get(), 0, root, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK, 27,
            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        QVERIFY(!x11::Owned<xcb_generic_error_t>(xcb_request_check(other.get(), cookie)));

        QVERIFY(!keyboard.keys.registerHotKey(controlShiftR, identifier));
        X11HotKeys third(keyboard.display.name().toLatin1());
        QVERIFY(!third.registerHotKey(controlShiftR, identifier));
    }

    void keyIsFreeAtOnceForTheNextRegistration() {
        Keyboard keyboard;
        for (int turn = 0; turn < 20; ++turn) {
            QVERIFY(keyboard.keys.registerHotKey(controlShiftR, identifier));
        }
    }

    void endedRegistrationIsNotPressed() {
        Keyboard keyboard;
        auto registration = keyboard.keys.registerHotKey(controlShiftR, identifier);
        keyboard.press(u"r"_s);
        QVERIFY(waitUntil([&] { return keyboard.presses == 1; }));
        registration.reset();
        keyboard.press(u"r"_s);
        const auto next =
            keyboard.keys.registerHotKey({'l', Qt::ControlModifier | Qt::ShiftModifier}, identifier);
        keyboard.press(u"l"_s);
        QVERIFY(waitUntil([&] { return keyboard.presses > 1; }));
        QCOMPARE(keyboard.presses, 2);
    }

    void keyFollowsAChangeOfTheKeyboardsLayout() {
        Keyboard keyboard;
        const auto registration = keyboard.keys.registerHotKey(controlShiftR, identifier);
        keyboard.press(keyOfR);
        QVERIFY(waitUntil([&] { return keyboard.presses == 1; }));

        keyboard.setLayout(u"dvorak"_s); // types R with the key that is O on an American one
        QVERIFY(keyboard.pressUntilNoticed(keyOfO));
        const int before = keyboard.presses;
        keyboard.press(keyOfR);
        keyboard.press(keyOfO);
        QVERIFY(waitUntil([&] { return keyboard.presses > before; }));
        QCOMPARE(keyboard.presses, before + 1);

        keyboard.setLayout(u"us"_s);
        QVERIFY(keyboard.pressUntilNoticed(keyOfR));
    }

    void keyIsTheOneThatTypesTheLetter_data() {
        QTest::addColumn<QString>("layout");
        QTest::addColumn<int>("key");
        QTest::newRow("American") << u"us"_s << 27;
        QTest::newRow("German") << u"de"_s << 27;
        QTest::newRow("Dvorak") << u"dvorak"_s << 32;
        QTest::newRow("Russian") << u"ru"_s << 27;
        QTest::newRow("Russian before American") << u"ru,us"_s << 27;
        QTest::newRow("American before Dvorak") << u"us,dvorak"_s << 27;
        QTest::newRow("Dvorak before American") << u"dvorak,us"_s << 32;
        QTest::newRow("Russian before Dvorak") << u"ru,dvorak"_s << 32;
    }
    void keyIsTheOneThatTypesTheLetter() {
        QFETCH(const QString, layout);
        QFETCH(const int, key);
        const VirtualDisplay display;
        display.run(u"setxkbmap"_s, {layout});
        const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
            xcb_connect(display.name().toLatin1().constData(), nullptr), &xcb_disconnect);

        const auto grabs = x11::keyGrabs(connection.get(), 'r', Qt::ControlModifier | Qt::ShiftModifier);

        QCOMPARE(grabs.keys, std::vector<xcb_keycode_t>{static_cast<xcb_keycode_t>(key)});
        // Shift and Control; with Caps Lock; with Num Lock, which is Mod2; with both.
        QCOMPARE(grabs.modifiers, (std::vector<quint16>{0x05, 0x07, 0x15, 0x17}));
    }

    void keyWorksInEveryLayoutOfAKeyboardWithSeveral() {
        Keyboard keyboard;
        keyboard.display.run(u"setxkbmap"_s, {u"us,ru"_s, u"-option"_s, u"grp:shifts_toggle"_s});
        const auto registration = keyboard.keys.registerHotKey(controlShiftR, identifier);
        keyboard.press(keyOfR);
        QVERIFY(waitUntil([&] { return keyboard.presses == 1; }));
        keyboard.display.run(u"xdotool"_s, {u"key"_s, u"ISO_Next_Group"_s});
        keyboard.press(keyOfR);
        QVERIFY(waitUntil([&] { return keyboard.presses == 2; }));
    }

    void noDisplayIsNoHotKey() {
        X11HotKeys keys(":4711");
        QVERIFY(!keys.registerHotKey(controlShiftR, identifier));
    }

    void displayThatGoesAwayIsHarmless() {
        Keyboard keyboard;
        auto registration = keyboard.keys.registerHotKey(controlShiftR, identifier);
        keyboard.display.kill();
        drainEvents();
        registration.reset();
        QVERIFY(!keyboard.keys.registerHotKey(controlShiftR, identifier));
        QCOMPARE(keyboard.presses, 0);
    }
};

QUILLO_TEST(X11HotKeysTest, QCoreApplication)
#include "X11HotKeysTest.moc"
