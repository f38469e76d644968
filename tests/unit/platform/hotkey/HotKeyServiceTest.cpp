#include "platform/hotkey/HotKeyService.h"

#include "platform/hotkey/PortalHotKeys.h"
#include "platform/hotkey/PortalShortcut.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

class HotKeyServiceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keysAreGrabbedOnlyWhereTheGrabSeesEveryProgram_data() {
        QTest::addColumn<QString>("qtPlatform");
        QTest::addColumn<bool>("waylandSession");
        QTest::addColumn<bool>("sandboxed");
        QTest::addColumn<bool>("grabbed");
        QTest::newRow("X11") << u"xcb"_s << false << false << true;
        QTest::newRow("X11 in a sandbox") << u"xcb"_s << false << true << false;
        QTest::newRow("X11 program on Wayland") << u"xcb"_s << true << false << false;
        QTest::newRow("Wayland") << u"wayland"_s << true << false << false;
        QTest::newRow("Wayland in a sandbox") << u"wayland"_s << true << true << false;
        QTest::newRow("no desktop") << u"offscreen"_s << false << false << false;
    }
    void keysAreGrabbedOnlyWhereTheGrabSeesEveryProgram() {
        QFETCH(const QString, qtPlatform);
        QFETCH(const bool, waylandSession);
        QFETCH(const bool, sandboxed);
        QFETCH(const bool, grabbed);
        QCOMPARE(mayGrabKeys({qtPlatform, waylandSession, sandboxed}), grabbed);
    }

    void triggerIsWrittenAsThePortalReadsIt() {
        QCOMPARE(portalTrigger({'r', Qt::ControlModifier | Qt::ShiftModifier}), u"CTRL+SHIFT+r"_s);
        QCOMPARE(portalTrigger({'l', Qt::AltModifier | Qt::MetaModifier}), u"ALT+LOGO+l"_s);
    }

    void whatIsNoListOfShortcutsCountsAsEmpty() {
        QVERIFY(portal::shortcutsOf({}).isEmpty());
        QVERIFY(portal::shortcutsOf(u"open-ledger"_s).isEmpty());
    }
};

QTEST_GUILESS_MAIN(HotKeyServiceTest)
#include "HotKeyServiceTest.moc"
