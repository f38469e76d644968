#include "ui/MenuTracking.h"

#include "platform/desktop/NotificationCenter.h"
#include "support/Wait.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QToolTip>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

/// Which of the program's surfaces count as a menu that the user opens.
class MenuTrackingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        menu = window.menuBar()->addMenu(u"&Quillo"_s);
        menu->addAction(u"About"_s);
        submenu = menu->addMenu(u"Balance and actions"_s);
        submenu->addAction(u"Open ledger"_s);
        picker = new QComboBox;
        picker->addItems({u"Live"_s, u"2024-04-30"_s});
        window.setCentralWidget(picker);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }
    void init() { begun = 0; }
    void cleanup() {
        while (auto* popup = QApplication::activePopupWidget()) {
            popup->close();
        }
        QToolTip::hideText();
        drainEvents();
    }

    void aMenuOfTheMenuBarBeginsTrackingOnce() {
        auto* bar = window.menuBar();
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(menu->menuAction()).center());
        QVERIFY(waitUntil([&] { return menu->isVisible(); }));
        drainEvents();
        QCOMPARE(begun, 1);
    }

    void aContextMenuBeginsTrackingOnceEachTimeItOpens() {
        QMenu context;
        context.addAction(u"Copy"_s);
        context.popup({10, 10});
        QCOMPARE(begun, 1);
        context.close();
        context.popup({10, 10});
        QCOMPARE(begun, 2);
    }

    void theListOfAPickerBeginsTrackingOnce() {
        picker->showPopup();
        QVERIFY(picker->view()->isVisible());
        drainEvents();
        QCOMPARE(begun, 1);
    }

    void aSubmenuBelongsToTheMenuThatItOpensFrom() {
        menu->popup({10, 10});
        QCOMPARE(begun, 1);
        menu->setActiveAction(submenu->menuAction());
        QTest::keyClick(menu, Qt::Key_Right);
        QVERIFY(waitUntil([&] { return submenu->isVisible(); }));
        drainEvents();
        QCOMPARE(begun, 1);
    }

    void aToolTipIsNoMenu() {
        QToolTip::showText({10, 10}, u"Fast and free."_s, &window);
        QVERIFY(waitUntil([] { return QToolTip::isVisible(); }));
        QCOMPARE(begun, 0);
    }

    void aWindowIsNoMenu() {
        QWidget other;
        other.show();
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        QCOMPARE(begun, 0);
    }

    void nothingIsPostedOnceItHasGone() {
        NotificationCenter others;
        int late = 0;
        const auto observed = others.observe(notification::menuDidBeginTracking, [&late] { ++late; });
        { const MenuTracking brief(others); }
        menu->popup({10, 10});
        QVERIFY(menu->isVisible());
        QCOMPARE(late, 0);
    }

private:
    NotificationCenter notifications;
    int begun = 0;
    Observation observation = notifications.observe(notification::menuDidBeginTracking, [this] { ++begun; });
    MenuTracking tracking{notifications};
    QMainWindow window;
    QMenu* menu = nullptr;
    QMenu* submenu = nullptr;
    QComboBox* picker = nullptr;
};

QTEST_MAIN(MenuTrackingTest)
#include "MenuTrackingTest.moc"
