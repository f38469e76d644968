#include "ui/ApplicationMenu.h"

#include "BuildConfiguration.h"
#include "support/TestMain.h"
#include "support/Wait.h"
#include "ui/MenuRenderer.h"

#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A window with the menu bar, in front; what is asked for is noted.
struct Fixture {
    explicit Fixture(const AppState& state = {})
        : actions({.openLedger = note(u"ledger"_s),
                   .refresh = note(u"refresh"_s),
                   .pullUpdates = note(u"pull updates"_s),
                   .pullFromBank = note(u"pull from bank"_s),
                   .openLinkPage = note(u"link page"_s),
                   .openReconnect = note(u"reconnect"_s),
                   .setRefreshInterval = [](qint64) {},
                   .openHelp = note(u"help"_s),
                   .openSettings = note(u"settings"_s),
                   .signIn = note(u"sign in"_s),
                   .signOut = note(u"sign out"_s),
                   .quit = note(u"quit"_s)}),
          added(addApplicationMenu(window, actions)) {
        render(state);
        window.show();
    }

    void render(const AppState& state) const { added->setMenu(menuBarContent(state, actions)); }

    [[nodiscard]] std::function<void()> note(const QString& name) {
        return [this, name] { called += name; };
    }

    [[nodiscard]] QMenu& menu() const { return *window.menuBar()->actions().at(0)->menu(); }

    [[nodiscard]] QMenu& statusMenu() const { return *window.findChild<MenuRenderer*>(); }

    [[nodiscard]] static QStringList texts(const QMenu& shown) {
        QStringList all;
        for (const auto* action : shown.actions()) {
            all += action->isSeparator() ? u"---"_s : action->text();
        }
        return all;
    }

    static void choose(const QMenu& shown, const QString& text) {
        for (auto* action : shown.actions()) {
            if (action->text() == text) {
                action->trigger();
            }
        }
    }

    /// Presses keys as the window system reports them that are held for a while.
    void hold(Qt::Key key, Qt::KeyboardModifiers modifiers) {
        QTest::simulateEvent(&window, true, key, modifiers, QString(), false);
        for (int repeat = 0; repeat < 5; ++repeat) {
            QTest::simulateEvent(&window, true, key, modifiers, QString(), true);
        }
        QTest::simulateEvent(&window, false, key, modifiers, QString(), false);
        drainEvents(); // what is chosen runs on a later turn
    }

    QStringList called;
    QMainWindow window;
    MenuActions actions;
    MenuRenderer* added;
};

AppState staleLink() {
    return {.links = std::vector{ItemStatus{.itemId = u"a"_s, .needsUpdate = true}}};
}

} // namespace

class ApplicationMenuTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refreshComesRightAfterAbout() {
        const Fixture fixture;
        QCOMPARE(fixture.texts(fixture.menu()).first(3),
                 QStringList({u"About Quillo"_s, u"Refresh"_s, u"---"_s}));
        QCOMPARE(fixture.menu().actions().at(1)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_R));
    }

    void everythingIsInItsPlace() {
        const Fixture fixture;
        QCOMPARE(fixture.texts(fixture.menu()),
                 QStringList({u"About Quillo"_s, u"Refresh"_s, u"---"_s, u"Settings…"_s,
                              u"Balance and actions"_s, u"---"_s, u"Quit Quillo"_s}));
    }

    void aboutTellsTheVersionAndTheLicenceAndHoldsNothingUp() {
        Fixture fixture;
        Fixture::choose(fixture.menu(), u"About Quillo"_s);
        QPointer<QMessageBox> about = fixture.window.findChild<QMessageBox*>();
        QVERIFY(about);
        QVERIFY(about->isVisible());
        QCOMPARE(about->text(), u"Quillo "_s + build::version);
        QVERIFY(about->informativeText().contains(u"MIT"_s));
        QCOMPARE(about->iconPixmap().deviceIndependentSize(), QSizeF(64, 64));
        QTest::keyClick(about, Qt::Key_Escape);
        QVERIFY(waitUntil([&] { return about.isNull(); }));
        QVERIFY(fixture.window.isVisible());
    }

    void theLedgersKeysOpenTheLedgerAndRefreshNothing_data() {
        QTest::addColumn<bool>("asksForAttention");
        QTest::newRow("nothing wrong") << false;
        QTest::newRow("another entry has the same keys") << true;
    }
    void theLedgersKeysOpenTheLedgerAndRefreshNothing() {
        QFETCH(bool, asksForAttention);
        Fixture fixture(asksForAttention ? staleLink() : AppState());
        QVERIFY(QTest::qWaitForWindowActive(&fixture.window));
        QTest::keyClick(&fixture.window, Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(waitUntil([&] { return !fixture.called.isEmpty(); }));
        drainEvents();
        // The first entry with the keys answers.
        QCOMPARE(fixture.called, QStringList{asksForAttention ? u"reconnect"_s : u"ledger"_s});
    }

    void heldKeysOfTheLedgerOpenOnePage() {
        Fixture fixture(staleLink());
        QVERIFY(QTest::qWaitForWindowActive(&fixture.window));
        fixture.hold(Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(fixture.called, QStringList{u"reconnect"_s});
    }

    void aHeldRefreshRefreshesOnce() {
        Fixture fixture;
        QVERIFY(QTest::qWaitForWindowActive(&fixture.window));
        fixture.hold(Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(fixture.called, QStringList{u"refresh"_s});
    }

    void noShortcutAsksAgainWhileItIsHeld() {
        const Fixture fixture(staleLink());
        int shortcuts = 0;
        for (const auto* action : fixture.menu().actions() + fixture.statusMenu().actions()) {
            if (!action->shortcut().isEmpty()) {
                ++shortcuts;
                QVERIFY2(!action->autoRepeat(), qPrintable(action->text()));
            }
        }
        QCOMPARE(shortcuts, 4);
    }

    void controlQQuits() {
        Fixture fixture;
        QVERIFY(QTest::qWaitForWindowActive(&fixture.window));
        QTest::keyClick(&fixture.window, Qt::Key_Q, Qt::ControlModifier);
        QVERIFY(waitUntil([&] { return fixture.called == QStringList{u"quit"_s}; }));
    }

    void pressingRefreshTwiceStartsTwoRefreshes() {
        Fixture fixture;
        QVERIFY(QTest::qWaitForWindowActive(&fixture.window));
        QTest::keyClick(&fixture.window, Qt::Key_R, Qt::ControlModifier);
        QTest::keyClick(&fixture.window, Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(fixture.called, QStringList({u"refresh"_s, u"refresh"_s}));
    }

    void surfacesAreOpenedAndTheProgramIsQuit() {
        Fixture fixture;
        Fixture::choose(fixture.menu(), u"Settings…"_s);
        Fixture::choose(fixture.menu(), u"Quit Quillo"_s);
        QCOMPARE(fixture.called, QStringList({u"settings"_s, u"quit"_s}));
    }

    void theStatusItemsWholeMenuIsInIt() {
        Fixture fixture;
        QVERIFY(fixture.menu().actions().contains(fixture.statusMenu().menuAction()));
        QCOMPARE(Fixture::texts(fixture.statusMenu()).last(), u"Quit Quillo"_s);
        Fixture::choose(fixture.statusMenu(), u"Open ledger"_s);
        QVERIFY(waitUntil([&] { return fixture.called == QStringList{u"ledger"_s}; }));
    }

    void theStatusItemsMenuShowsTheLatestState() {
        const Fixture fixture;
        fixture.render({.error = u"HTTP 500"_s});
        QCOMPARE(Fixture::texts(fixture.statusMenu()).first(), u"Error: HTTP 500"_s);
        fixture.render({});
        QCOMPARE(Fixture::texts(fixture.statusMenu()).first(), u"Open ledger"_s);
    }
};

QUILLO_TEST(ApplicationMenuTest, QApplication)
#include "ApplicationMenuTest.moc"
