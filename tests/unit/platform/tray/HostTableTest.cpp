#include "platform/tray/HostTable.h"
#include "support/TestMain.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

Q_DECLARE_METATYPE(quillo::HostTraits)

class HostTableTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyPanelHasItsTraits_data() {
        QTest::addColumn<QString>("executable");
        QTest::addColumn<HostTraits>("onX11");
        QTest::addColumn<HostTraits>("elsewhere");
        using enum TextWay;
        using enum OnActivate;
        using enum OpeningSign;
        using enum PanelLook;
        const auto row = [](const char* name, HostTraits onX11, HostTraits elsewhere) {
            QTest::newRow(name) << QString::fromLatin1(name) << onX11 << elsewhere;
        };
        const auto both = [&row](const char* name, HostTraits traits) { row(name, traits, traits); };
        both("gnome-shell", {label, requestMenu, openedEvent});
        both("notification-area-applet", {label, requestMenu, any});
        both("ayatana-indicator-application-service", {label, requestMenu, any});
        both("waybar", {wideIcon, requestMenu, any, dark});
        both("gtk-sni-tray-standalone", {wideIcon, requestMenu, any, dark});
        both("taffybar", {wideIcon, requestMenu, any, dark});
        row("wrapper-2.0", {dockedWindow, requestMenu, any}, {square, requestMenu, any});
        both("kded5", {square, refuse, any});
        both("kded6", {square, refuse, any});
        both("plasmashell", {square, refuse, any});
        both("lxqt-panel", {square, requestMenu, any});
    }

    void everyPanelHasItsTraits() {
        QFETCH(QString, executable);
        QFETCH(HostTraits, onX11);
        QFETCH(HostTraits, elsewhere);
        QVERIFY(hostTraits(executable, WindowSystem::x11) == onX11);
        QVERIFY(hostTraits(executable, WindowSystem::other) == elsewhere);
    }

    void aPanelThatIsNotKnownGetsALabel() {
        for (const auto& executable : {u"some-panel"_s, u""_s, u"Waybar"_s, u"waybar2"_s, u"kded"_s}) {
            QVERIFY(hostTraits(executable, WindowSystem::x11) == HostTraits());
            QVERIFY(hostTraits(executable, WindowSystem::other) == HostTraits());
        }
        QCOMPARE(HostTraits().textWay, TextWay::label);
    }

    void withoutAWatcherOnlyAnX11TrayCanShowAnything() {
        QCOMPARE(textWayWithoutWatcher(WindowSystem::x11), TextWay::dockedWindow);
        QCOMPARE(textWayWithoutWatcher(WindowSystem::other), TextWay::label);
    }
};

QUILLO_TEST(HostTableTest, QCoreApplication)
#include "HostTableTest.moc"
