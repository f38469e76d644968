#include "platform/tray/PanelStyle.h"

#include "support/PrivateBus.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QDBusContext>
#include <QDBusError>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QPalette>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <array>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

/// The settings portal, which answers as the test says.
class ScriptedSettings final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    explicit ScriptedSettings(const QDBusConnection& connection, QVariant answerOfRead)
        : bus(connection), answer(std::move(answerOfRead)) {
        if (!bus.registerObject(u"/org/freedesktop/portal/desktop"_s, this,
                                QDBusConnection::ExportScriptableContents) ||
            !bus.registerService(u"org.freedesktop.portal.Desktop"_s)) {
            qFatal("the portal does not start");
        }
    }

    void change(const QString& group, const QString& key, const QVariant& value) {
        Q_EMIT SettingChanged(group, key, QDBusVariant(value));
    }

    int reads = 0;

public Q_SLOTS:
    Q_SCRIPTABLE QDBusVariant Read(const QString& group, const QString& key) {
        ++reads;
        if (group != u"org.freedesktop.appearance" || key != u"color-scheme" || !answer.isValid()) {
            sendErrorReply(u"org.freedesktop.portal.Error.NotFound"_s, u"Requested setting not found"_s);
        }
        return QDBusVariant(QVariant::fromValue(QDBusVariant(answer)));
    }

Q_SIGNALS:
    Q_SCRIPTABLE void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    QDBusConnection bus;
    QVariant answer;
};

bool isLight(const PaintStyle& style) {
    return style.colour.lightness() > 128;
}

/// Where settings and themes are looked for.
constexpr std::array folders{"XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "XDG_DATA_HOME", "XDG_DATA_DIRS"};

void write(const QString& path, const QByteArray& text) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        qFatal("%s is not written", qPrintable(path));
    }
}

struct Fixture {
    explicit Fixture(const QVariant& answer, PanelLook look = PanelLook::ofDesktop)
        : portal(bus.connect(), answer), style(bus.connect(), look) {}

    [[nodiscard]] bool wasAsked() {
        return waitUntil([this] { return portal.reads == 1; });
    }

    PrivateBus bus;
    ScriptedSettings portal;
    PanelStyle style;
    QSignalSpy changes{&style, &PanelStyle::changed};
};

} // namespace

class PanelStyleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() {
        QGuiApplication::setPalette(QPalette());
        for (const auto* const name : folders) {
            qunsetenv(name);
        }
    }

    void thePreferenceDecides_data() {
        QTest::addColumn<QVariant>("preference");
        QTest::addColumn<PanelLook>("look");
        QTest::addColumn<bool>("light");
        using enum PanelLook;
        QTest::newRow("dark") << QVariant(1U) << ofDesktop << true;
        QTest::newRow("light") << QVariant(2U) << ofDesktop << false;
        QTest::newRow("none") << QVariant(0U) << ofDesktop << false;
        QTest::newRow("one to come") << QVariant(7U) << ofDesktop << false;
        QTest::newRow("of another type") << QVariant(u"dark"_s) << ofDesktop << false;
        QTest::newRow("not known") << QVariant() << ofDesktop << false;
        QTest::newRow("none, on a dark panel") << QVariant(0U) << dark << true;
        QTest::newRow("not known, on a dark panel") << QVariant() << dark << true;
        QTest::newRow("light, on a dark panel") << QVariant(2U) << dark << false;
    }

    void thePreferenceDecides() {
        QFETCH(QVariant, preference);
        QFETCH(PanelLook, look);
        QFETCH(bool, light);
        Fixture fixture(preference, look);
        QVERIFY(fixture.wasAsked());
        QVERIFY(waitUntil([&] { return isLight(fixture.style.style()) == light; }));
    }

    void onPlasmaThePanelsOwnThemeGoesBeforeThePreferenceForWindows_data() {
        QTest::addColumn<QByteArray>("chosen");
        QTest::addColumn<QByteArray>("colours");
        QTest::addColumn<QColor>("ink");
        const QColor ofPreference(0x2e, 0x34, 0x36);
        const QByteArray chosen = "[Theme]\nname=twilight\n";
        const QByteArray light =
            "[Colors:View]\nForegroundNormal=1,2,3\n[Colors:Window]\nForegroundNormal=239,240,241\n";
        QTest::newRow("light ink") << chosen << light << QColor(239, 240, 241);
        QTest::newRow("with opacity")
            << chosen << QByteArray("[Colors:Window]\nForegroundNormal=9,8,7,255\n") << QColor(9, 8, 7);
        QTest::newRow("another theme") << QByteArray("[Theme]\nname=other\n") << light << ofPreference;
        QTest::newRow("none chosen") << QByteArray() << light << ofPreference;
        QTest::newRow("no colours") << chosen << QByteArray() << ofPreference;
        QTest::newRow("no colour") << chosen << QByteArray("[Colors:Window]\nForegroundNormal=red\n")
                                   << ofPreference;
    }

    void onPlasmaThePanelsOwnThemeGoesBeforeThePreferenceForWindows() {
        QFETCH(QByteArray, chosen);
        QFETCH(QByteArray, colours);
        QFETCH(QColor, ink);
        const QTemporaryDir home;
        for (const auto* const name : folders) {
            qputenv(name, home.path().toUtf8());
        }
        const auto themes = home.filePath(u"plasma/desktoptheme/twilight"_s);
        QVERIFY(QDir().mkpath(themes));
        write(home.filePath(u"plasmarc"_s), chosen);
        write(themes + u"/colors"_s, colours);
        Fixture fixture(2U, PanelLook::ofPlasma);
        QVERIFY(fixture.wasAsked());
        drainEvents();
        QCOMPARE(fixture.style.style().colour, ink);
    }

    void aChangedPreferenceIsFollowedAndAnnouncedOnce() {
        Fixture fixture(2U);
        QVERIFY(fixture.wasAsked());
        fixture.portal.change(u"org.freedesktop.appearance"_s, u"color-scheme"_s, 1U);
        QVERIFY(waitUntil([&] { return isLight(fixture.style.style()); }));
        fixture.portal.change(u"org.freedesktop.appearance"_s, u"color-scheme"_s, 1U);
        fixture.portal.change(u"org.freedesktop.appearance"_s, u"accent-color"_s, 2U);
        fixture.portal.change(u"org.freedesktop.appearance"_s, u"color-scheme"_s, 2U);
        QVERIFY(waitUntil([&] { return !isLight(fixture.style.style()); }));
        QCOMPARE(fixture.changes.count(), 2);
    }

    void withoutAPortalThePaletteDecides() {
        PrivateBus bus;
        const PanelStyle style(bus.connect(), PanelLook::ofDesktop);
        QSignalSpy changes(&style, &PanelStyle::changed);
        QVERIFY(!isLight(style.style()));
        QPalette dark;
        dark.setColor(QPalette::Window, QColor(0x20, 0x20, 0x20));
        QGuiApplication::setPalette(dark);
        QVERIFY(waitUntil([&] { return isLight(style.style()); }));
        QCOMPARE(changes.count(), 1);
    }

    void theDesktopsFontIsUsedAndFollowed() {
        PrivateBus bus;
        const PanelStyle style(bus.connect(), PanelLook::ofDesktop);
        QSignalSpy changes(&style, &PanelStyle::changed);
        const auto before = QGuiApplication::font();
        QCOMPARE(style.style().font, before);
        auto larger = before;
        larger.setPointSize(before.pointSize() + 5);
        QGuiApplication::setFont(larger);
        QVERIFY(waitUntil([&] { return changes.count() == 1; }));
        QCOMPARE(style.style().font, larger);
        QGuiApplication::setFont(before);
    }

    void aClosedConnectionHarmsNothing() {
        const PanelStyle style(QDBusConnection(u"nowhere"_s), PanelLook::dark);
        drainEvents();
        QVERIFY(isLight(style.style()));
    }
};

QUILLO_TEST(PanelStyleTest, QGuiApplication)
#include "PanelStyleTest.moc"
