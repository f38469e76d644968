#include "ui/LedgerWindow.h"

#include "support/Wait.h"

#include <QApplication>
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

} // namespace

class LedgerWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        // As in the program.
        QGuiApplication::setApplicationDisplayName(QString());
        QGuiApplication::setQuitOnLastWindowClosed(false);
    }

    void nothingIsOpenAtFirst() {
        const LedgerWindow ledger;
        QVERIFY(!ledger.window());
        QCOMPARE(openWindows(), 0);
    }

    void hasItsTitleAndSize() {
        LedgerWindow ledger;
        ledger.open();
        QVERIFY(ledger.window()->isVisible());
        QCOMPARE(ledger.window()->windowTitle(), QStringLiteral("Quillo — Ledger"));
        QCOMPARE(ledger.window()->objectName(), QStringLiteral("ledger"));
        QCOMPARE(ledger.window()->size(), QSize(960, 640));
    }

    void cannotBeSmallerThanItsContentNeeds() {
        LedgerWindow ledger;
        ledger.open();
        ledger.window()->resize(10, 10);
        QVERIFY(waitUntil([&] { return ledger.window()->size() == QSize(720, 480); }));
    }

    void openingItTwiceKeepsTheOneWindow() {
        LedgerWindow ledger;
        ledger.open();
        const auto* first = ledger.window();
        ledger.open();
        QCOMPARE(ledger.window(), first);
        QCOMPARE(openWindows(), 1);
    }

    void openingItWhenMinimisedShowsIt() {
        LedgerWindow ledger;
        ledger.open();
        ledger.window()->showMinimized();
        QVERIFY(ledger.window()->isMinimized());
        ledger.open();
        QVERIFY(!ledger.window()->isMinimized());
        QVERIFY(ledger.window()->isVisible());
    }

    void openingItGivesItTheFocus() {
        LedgerWindow ledger;
        QWidget other;
        ledger.open();
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        ledger.open();
        QVERIFY(QTest::qWaitForWindowActive(ledger.window()));
    }

    void reopensAtItsLastSize() {
        LedgerWindow ledger;
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
        LedgerWindow ledger;
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
        LedgerWindow ledger;
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
        LedgerWindow ledger;
        ledger.open();
        ledger.window()->close();
        drainEvents();
        QVERIFY(aboutToQuit.isEmpty());
    }
};

QTEST_MAIN(LedgerWindowTest)
#include "LedgerWindowTest.moc"
