#include "ui/SingleWindow.h"

#include "support/TestMain.h"
#include "support/Wait.h"

#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>

using namespace quillo;
using namespace quillo::test;

namespace {

qsizetype openWindows() {
    const auto all = QApplication::topLevelWidgets();
    return std::count_if(all.begin(), all.end(), [](const auto* widget) { return widget->isVisible(); });
}

/// The ledger window as the program has it: with a menu bar.
WindowScene withMenuBar() {
    auto scene = ledgerScene([] { return new QWidget; });
    scene.prepare = [](QMainWindow& window) {
        window.menuBar()->addMenu(QStringLiteral("Quillo"))->addAction(QStringLiteral("About"));
    };
    return scene;
}

QSize contentSize(const SingleWindow& window) {
    return qobject_cast<QMainWindow*>(window.window())->centralWidget()->size();
}

} // namespace

class SingleWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        // As in the program.
        QGuiApplication::setApplicationDisplayName(QString());
        QGuiApplication::setQuitOnLastWindowClosed(false);
    }

    void nothingIsOpenAtFirst() {
        const SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        QVERIFY(!ledger.window());
        QCOMPARE(openWindows(), 0);
    }

    void hasItsTitleAndSize() {
        SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        ledger.open();
        QVERIFY(ledger.window()->isVisible());
        QCOMPARE(ledger.window()->windowTitle(), QStringLiteral("Quillo — Ledger"));
        QCOMPARE(ledger.window()->objectName(), QStringLiteral("ledger"));
        QCOMPARE(ledger.window()->size(), QSize(960, 640));
    }

    void hasTheApplicationsIconInItsTitleBar() {
        SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        ledger.open();
        QVERIFY(!ledger.window()->windowIcon().pixmap(QSize(32, 32)).isNull());
    }

    void cannotBeSmallerThanItsContentNeeds() {
        SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        ledger.open();
        ledger.window()->resize(10, 10);
        QVERIFY(waitUntil([&] { return ledger.window()->size() == QSize(720, 480); }));
    }

    void aMenuBarTakesNothingFromTheLedgersFirstSize() {
        SingleWindow ledger(withMenuBar());
        ledger.open();
        drainEvents();
        QCOMPARE(contentSize(ledger), QSize(960, 640));
        QVERIFY(ledger.window()->height() > 640);
    }

    void aMenuBarTakesNothingFromTheLedgersLeastSize() {
        SingleWindow ledger(withMenuBar());
        ledger.open();
        ledger.window()->resize(10, 10);
        QVERIFY(waitUntil([&] { return contentSize(ledger) == QSize(720, 480); }));
        QVERIFY(ledger.window()->height() > 480);
    }

    void aWindowWithAMenuBarReopensAtItsLastSizeHoweverOften() {
        SingleWindow ledger(withMenuBar());
        ledger.open();
        ledger.window()->resize(800, 600);
        for (int time = 0; time < 3; ++time) {
            ledger.window()->close();
            drainEvents();
            ledger.open();
            drainEvents();
            QCOMPARE(ledger.window()->size(), QSize(800, 600));
        }
    }

    void settingsAreAlwaysAsLargeAsTheirContent() {
        SingleWindow settings(settingsScene([] {
            auto* content = new QWidget;
            content->setFixedSize(460, 380);
            return content;
        }));
        settings.open();
        QCOMPARE(settings.window()->windowTitle(), QStringLiteral("Quillo Settings"));
        QVERIFY(waitUntil([&] { return settings.window()->size() == QSize(460, 380); }));
        settings.window()->resize(800, 600);
        drainEvents();
        QCOMPARE(settings.window()->size(), QSize(460, 380));
    }

    void openingItTwiceKeepsTheOneWindow() {
        SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        ledger.open();
        const auto* first = ledger.window();
        ledger.open();
        QCOMPARE(ledger.window(), first);
        QCOMPARE(openWindows(), 1);
    }

    void openingItWhenMinimisedShowsIt() {
        SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        ledger.open();
        ledger.window()->showMinimized();
        QVERIFY(ledger.window()->isMinimized());
        ledger.open();
        QVERIFY(!ledger.window()->isMinimized());
        QVERIFY(ledger.window()->isVisible());
    }

    void openingItGivesItTheFocus() {
        SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        QWidget other;
        ledger.open();
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        ledger.open();
        QVERIFY(QTest::qWaitForWindowActive(ledger.window()));
    }

    void reopensAtItsLastSize() {
        SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        ledger.open();
        ledger.window()->resize(777, 555);
        ledger.window()->close();
        QVERIFY(!ledger.window());
        drainEvents();
        QCOMPARE(QApplication::topLevelWidgets().size(), 0);
        ledger.open();
        QCOMPARE(ledger.window()->size(), QSize(777, 555));
    }

    void reopensMaximisedWithTheSizeFromBefore() {
        SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        ledger.open();
        ledger.window()->resize(770, 550);
        ledger.window()->showMaximized();
        ledger.window()->close();
        ledger.open();
        QVERIFY(ledger.window()->isMaximized());
        ledger.window()->showNormal();
        QVERIFY(waitUntil([&] { return ledger.window()->size() == QSize(770, 550); }));
    }

    void canBeOpenedAgainBeforeTheClosedOneIsGone() {
        SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        ledger.open();
        ledger.window()->close();
        ledger.open();
        drainEvents();
        QVERIFY(ledger.window());
        QVERIFY(ledger.window()->isVisible());
        QCOMPARE(openWindows(), 1);
    }

    void closingItEndsNothing() {
        QSignalSpy aboutToQuit(qApp, &QCoreApplication::aboutToQuit);
        SingleWindow ledger(ledgerScene([] { return new QWidget; }));
        ledger.open();
        ledger.window()->close();
        drainEvents();
        QVERIFY(aboutToQuit.isEmpty());
    }
};

QUILLO_TEST(SingleWindowTest, QApplication)
#include "SingleWindowTest.moc"
