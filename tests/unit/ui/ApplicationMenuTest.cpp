#include "ui/ApplicationMenu.h"

#include "BuildConfiguration.h"
#include "store/StoreFixture.h"
#include "support/TestMain.h"
#include "support/Wait.h"
#include "ui/Environment.h"
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

/// A window with the menu bar, in front.
struct Fixture {
    Fixture() {
        surroundings.start();
        surroundings.waitUntilSettled();
        surroundings.store().settings.apiKey = u"key"_s;
        environment.emplace(surroundings.store());
        new ApplicationMenu(window, surroundings.notifications,
                            {.openLedger = [this] { called += u"ledger"_s; },
                             .openHelp = [this] { called += u"help"_s; },
                             .openSettings = [this] { called += u"settings"_s; },
                             .quit = [this] { called += u"quit"_s; }});
        window.show();
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

    StoreFixture surroundings;
    std::optional<Environment> environment;
    QStringList called;
    QMainWindow window;
};

} // namespace

class ApplicationMenuTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { leaveSessionBus(); }

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
        Fixture fixture;
        if (asksForAttention) {
            fixture.surroundings.store().itemStatuses = {{.itemId = u"a"_s, .needsUpdate = true}};
            drainEvents();
        }
        QVERIFY(QTest::qWaitForWindowActive(&fixture.window));
        const auto before = fixture.surroundings.refreshes();
        QTest::keyClick(&fixture.window, Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(waitUntil([&] {
            return fixture.called == QStringList{u"ledger"_s} || !fixture.surroundings.opened.empty();
        }));
        drainEvents();
        QCOMPARE(fixture.called.size() + fixture.surroundings.opened.size(), 1);
        QCOMPARE(fixture.surroundings.refreshes(), before);
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
        const auto before = fixture.surroundings.refreshes();
        QTest::keyClick(&fixture.window, Qt::Key_R, Qt::ControlModifier);
        QTest::keyClick(&fixture.window, Qt::Key_R, Qt::ControlModifier);
        QVERIFY(waitUntil([&] { return fixture.surroundings.refreshes() == before + 2; }));
        fixture.surroundings.waitUntilSettled();
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

    void theStatusItemsMenuFollowsTheStore() {
        Fixture fixture;
        fixture.surroundings.store().lastError = u"HTTP 500"_s;
        QVERIFY(
            waitUntil([&] { return Fixture::texts(fixture.statusMenu()).first() == u"Error: HTTP 500"_s; }));
    }

    void openingTheMenuBeginsTracking() {
        Fixture fixture;
        int begun = 0;
        const auto observation = fixture.surroundings.notifications.observe(
            notification::menuDidBeginTracking, [&begun] { ++begun; });
        fixture.menu().popup({0, 0});
        QCOMPARE(begun, 1);
        fixture.menu().hide();
    }
};

QUILLO_TEST(ApplicationMenuTest, QApplication)
#include "ApplicationMenuTest.moc"
