#include "platform/tray/HostTable.h"
#include "support/TestMain.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

class HostTableTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aPanelIsKnownByItsExecutableAndMayDifferByWindowSystem() {
        QCOMPARE(hostTraits(u"waybar", WindowSystem::x11).textWay, TextWay::wideIcon);
        QCOMPARE(hostTraits(u"waybar", WindowSystem::other).textWay, TextWay::wideIcon);
        QCOMPARE(hostTraits(u"wrapper-2.0", WindowSystem::x11).textWay, TextWay::dockedWindow);
        QCOMPARE(hostTraits(u"wrapper-2.0", WindowSystem::other).textWay, TextWay::square);
    }

    void cinnamonsWatcherWhichIgnoresLabelsGetsAWideIcon() {
        const auto traits = hostTraits(u"xapp-sn-watcher", WindowSystem::x11);
        QCOMPARE(traits.textWay, TextWay::wideIcon);
        QCOMPARE(traits.iconHeight, 24);
        QVERIFY(hostTraits(u"xapp-sn-watcher", WindowSystem::other) == traits);
    }

    void aPanelThatIsNotKnownGetsALabel() {
        for (const auto& executable : {u"some-panel"_s, u""_s, u"Waybar"_s, u"waybar2"_s, u"kded"_s}) {
            QVERIFY(hostTraits(executable, WindowSystem::x11) == HostTraits());
            QVERIFY(hostTraits(executable, WindowSystem::other) == HostTraits());
        }
        QCOMPARE(HostTraits().textWay, TextWay::label);
    }

    void aPanelThatCannotBeLookedAtIsTheUsualOneOfTheDesktop() {
        QCOMPARE(usualHost(u"KDE"), u"kded5");
        QCOMPARE(usualHost(u"ubuntu:GNOME"), u"gnome-shell");
        QCOMPARE(usualHost(u"XFCE"), u"wrapper-2.0");
        QVERIFY(usualHost(u"GNOME-Flashback:Unity").isEmpty());
        QVERIFY(usualHost(u"").isEmpty());
    }

    void budgiesTrayWhichTellsNoColoursIsDark() {
        QCOMPARE(lookOfTray(u"Budgie:GNOME"), PanelLook::dark);
        QCOMPARE(lookOfTray(u"XFCE"), PanelLook::ofDesktop);
        QCOMPARE(lookOfTray(u""), PanelLook::ofDesktop);
    }

    void withoutAWatcherOnlyAnX11TrayCanShowAnything() {
        QCOMPARE(textWayWithoutWatcher(WindowSystem::x11), TextWay::dockedWindow);
        QCOMPARE(textWayWithoutWatcher(WindowSystem::other), TextWay::label);
    }
};

QUILLO_TEST(HostTableTest, QCoreApplication)
#include "HostTableTest.moc"
