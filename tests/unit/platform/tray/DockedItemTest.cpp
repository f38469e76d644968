#include "platform/tray/DockedItem.h"

#include "ItemFixture.h"
#include "ScriptedTray.h"
#include "support/VirtualDisplay.h"

#include <QGuiApplication>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

const ItemFace amount{u"creditcard"_s, u"$1,234.57"_s, u"1.2k"_s};
/// A font that is made before the application is has no size.
PaintStyle black() {
    return {{}, Qt::black};
}

using Manner = ScriptedTray::Manner;
using State = DockedItem::State;

int pixelsOf(const QImage& image, const QColor& colour) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            count += image.pixelColor(x, y) == colour ? 1 : 0;
        }
    }
    return count;
}

} // namespace

/// Windows in trays, on a real X server: the item's own, and which of item and window is shown.
class DockedItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QCOMPARE(QGuiApplication::platformName(), u"xcb"_s);
        QVERIFY(runtimeFolder.isValid());
        QFile::setPermissions(runtimeFolder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toUtf8());
        (void)squareIcons(amount, {}); // the first of a process loads fonts
    }

    void aTrayShowsTheWindowInItsNaturalSize() {
        ScriptedTray tray(name());
        tray.start();
        DockedItem item;
        QVERIFY(docks(item, tray));
        QVERIFY(waitUntil([&] { return tray.look(tray.asked()[0])->visible; }));
        QCOMPARE(tray.look(tray.asked()[0])->size, wideSize(amount, {}));
        QVERIFY(waitUntil([&] { return pixelsOf(tray.picture(tray.asked()[0]), Qt::black) > 50; }));
    }

    void aTrayThatComesLateGetsTheWindow() {
        DockedItem item;
        QVERIFY(waitUntil([&item] { return item.state() == State::noTray; })); // the last one's may still go
        ScriptedTray tray(name());
        tray.start();
        QVERIFY(docks(item, tray));
    }

    void everyTrayThatFollowsADeadOneGetsTheWindow() {
        DockedItem item;
        for (int round = 0; round < 10; ++round) {
            ScriptedTray tray(name());
            tray.start();
            QVERIFY(docks(item, tray));
            tray.crash();
            QVERIFY(waitUntil([&] { return item.state() == State::noTray; }));
        }
    }

    void aTrayThatDiesWhenAskedIsForgotten() {
        DockedItem item;
        ScriptedTray dying(name(), Manner::diesWhenAsked);
        dying.start();
        QVERIFY(waitUntil([&] { return dying.asked().size() == 1; }));
        QVERIFY(waitUntil([&] { return item.state() == State::noTray; }));
        ScriptedTray tray(name());
        tray.start();
        QVERIFY(docks(item, tray));
    }

    void noWindowIsSeenWhileATrayDoesNotTakeIt() {
        ScriptedTray tray(name(), Manner::ignores);
        tray.start();
        DockedItem item(std::chrono::milliseconds(200));
        item.setFace(amount, black());
        QVERIFY(waitUntil([&] { return tray.asked().size() == 1; }));
        bool seen = false;
        QVERIFY(waitUntil([&] {
            const auto look = tray.look(tray.asked()[0]);
            seen |= look && look->visible;
            return item.state() == State::refused;
        }));
        QVERIFY(!seen);
        QVERIFY(waitUntil([&] { return !tray.look(tray.asked()[0]); }));
        QCOMPARE(tray.asked().size(), 1U);
    }

    void aWindowThatIsLetGoDoesNotStandOnTheDesktop() {
        ScriptedTray tray(name());
        tray.start();
        DockedItem item;
        QVERIFY(docks(item, tray));
        tray.letGo(tray.asked()[0]);
        QVERIFY(waitUntil([&] { return item.state() == State::refused; }));
        QVERIFY(waitUntil([&] { return !tray.look(tray.asked()[0]); }));
        QCOMPARE(tray.asked().size(), 1U);
    }

    void aLongerTextMakesTheWindowWider() {
        ScriptedTray tray(name());
        tray.start();
        DockedItem item;
        QVERIFY(docks(item, tray));
        auto longer = amount;
        longer.text = u"$1,234 + $88 pend"_s;
        item.setFace(longer, black());
        QVERIFY(waitUntil([&] { return tray.look(tray.asked()[0])->size == wideSize(longer, {}); }));
        QCOMPARE(tray.count(), 1);
    }

    void aWindowCutToASquareShowsTheShortText() {
        ScriptedTray tray(name());
        tray.start();
        DockedItem item;
        QVERIFY(docks(item, tray));
        const auto window = tray.asked()[0];
        tray.resize(window, {22, 22});
        QImage withAmount;
        QVERIFY(waitUntil([&] {
            withAmount = tray.picture(window);
            return withAmount.size() == QSize(22, 22) && pixelsOf(withAmount, Qt::black) > 5;
        }));
        // The symbol, in a state without a short text, is another picture.
        item.setFace({u"exclamationmark.triangle.fill"_s, u"Quillo · Reconnect"_s, {}}, black());
        tray.resize(window, {22, 22});
        QVERIFY(waitUntil([&] {
            const auto picture = tray.picture(window);
            return picture.size() == QSize(22, 22) && picture != withAmount &&
                   pixelsOf(picture, Qt::black) > 20;
        }));
    }

    void anAmountIsNotCutInATrayThatKeepsTheWindowsSizeAfterItWasPainted() {
        ScriptedTray tray(name(), Manner::keepsSquares);
        tray.start();
        DockedItem item;
        item.setFace({u"hourglass"_s, u"Quillo…"_s, {}}, black());
        QVERIFY(waitUntil([&] { return item.state() == State::docked && tray.count() == 1; }));
        const auto window = tray.asked()[0];
        QVERIFY(waitUntil([&] { return pixelsOf(tray.picture(window), Qt::black) > 20; }));
        const auto symbol = tray.picture(window);
        item.setFace(amount, black());
        QVERIFY(waitUntil([&] { return tray.picture(window) != symbol; }));
        tray.refuseSize(window);
        QImage expected(ScriptedTray::square, ScriptedTray::square, QImage::Format_RGB32);
        expected.fill(Qt::white);
        QPainter painter(&expected);
        paintSquare(painter, expected.rect(), amount, black());
        painter.end();
        QVERIFY(waitUntil(
            [&] { return tray.picture(window).convertToFormat(QImage::Format_RGB32) == expected; }));
    }

    void aWindowMadeAsSmallAsCanBeHarmsNothing() {
        ScriptedTray tray(name());
        tray.start();
        DockedItem item;
        QVERIFY(docks(item, tray));
        const auto window = tray.asked()[0];
        tray.resize(window, {1, 1});
        QVERIFY(waitUntil([&] { return tray.picture(window).size() == QSize(1, 1); }));
        drainEvents();
        tray.resize(window, wideSize(amount, {}));
        QVERIFY(waitUntil([&] { return pixelsOf(tray.picture(window), Qt::black) > 50; }));
    }

    void aWindowMadeAsWideAsCanBeIsNotPaintedAnew() {
        ScriptedTray tray(name());
        tray.start();
        DockedItem item;
        QVERIFY(docks(item, tray));
        const auto window = tray.asked()[0];
        QVERIFY(waitUntil([&] { return pixelsOf(tray.picture(window), Qt::black) > 50; }));
        tray.resize(window, {32'767, 22});
        const auto windows = QGuiApplication::allWindows();
        QVERIFY(waitUntil([&] { return windows[0]->width() == 32'767; }));
        // Painted, text and symbol would stand in the middle, far outside the screen.
        auto redder = black();
        redder.colour = Qt::red;
        item.setFace(amount, redder);
        QEvent turnToPaint(QEvent::UpdateRequest);
        QCoreApplication::sendEvent(windows[0], &turnToPaint);
        QVERIFY(pixelsOf(tray.picture(window), Qt::black) > 50);
        tray.resize(window, wideSize(amount, {}));
        QVERIFY(waitUntil([&] { return pixelsOf(tray.picture(window), Qt::red) > 50; }));
    }

    void theTraysColourGoesBeforeTheStylesAndIsFollowed() {
        ScriptedTray tray(name());
        tray.setForeground(Qt::red);
        tray.start();
        DockedItem item;
        QVERIFY(docks(item, tray));
        const auto window = tray.asked()[0];
        QVERIFY(waitUntil([&] { return pixelsOf(tray.picture(window), Qt::red) > 50; }));
        tray.setForeground(Qt::blue);
        QVERIFY(waitUntil([&] { return pixelsOf(tray.picture(window), Qt::blue) > 50; }));
        QCOMPARE(pixelsOf(tray.picture(window), Qt::red), 0);
    }

    void thePanelIsSeenBehindTheText() {
        ScriptedTray tray(name());
        tray.start();
        DockedItem item;
        QVERIFY(docks(item, tray));
        const auto window = tray.asked()[0];
        QCOMPARE(tray.look(window)->depth, 24);
        QVERIFY(waitUntil([&] { return pixelsOf(tray.picture(window), Qt::black) > 50; }));
        // White, as the scripted panel is.
        const auto corner = tray.picture(window).pixel(0, 0) & 0xffffffU;
        QCOMPARE(corner, 0xffffffU);
    }

    void aTrayForTransparentWindowsGetsOne() {
        ScriptedTray tray(name());
        tray.offerTransparency();
        tray.start();
        DockedItem item;
        QVERIFY(docks(item, tray));
        const auto window = tray.asked()[0];
        QCOMPARE(tray.look(window)->depth, 32);
        QVERIFY(waitUntil([&] { return pixelsOf(tray.picture(window), Qt::black) > 50; }));
        QCOMPARE(tray.picture(window).pixel(0, 0), 0U);
    }

    void aClickOfEitherButtonIsTold() {
        ScriptedTray tray(name());
        tray.start();
        DockedItem item;
        QVERIFY(docks(item, tray));
        QVERIFY(waitUntil([&] { return tray.look(tray.asked()[0])->visible; }));
        QSignalSpy presses(&item, &DockedItem::pressed);
        for (const auto& button : {u"1"_s, u"3"_s}) {
            presses.clear();
            movePointerTo(ScriptedTray::left + 10, ScriptedTray::top + 5);
            xdotool({u"click"_s, button});
            QVERIFY(waitUntil([&] { return presses.count() == 1; }));
        }
    }

    void thePointerAtRestIsTold() {
        ScriptedTray tray(name());
        tray.start();
        DockedItem item;
        movePointerTo(0, 0);
        QVERIFY(docks(item, tray));
        QVERIFY(waitUntil([&] { return tray.look(tray.asked()[0])->visible; }));
        QSignalSpy rests(&item, &DockedItem::pointerRested);
        movePointerTo(ScriptedTray::left + 10, ScriptedTray::top + 5);
        QVERIFY(waitUntil([&] { return rests.count() == 1; }));
        QCOMPARE(rests[0][0].toPoint(), QPoint(ScriptedTray::left + 10, ScriptedTray::top + 5));
    }

    void withoutAWatcherTheTrayShowsTheItemUntilAWatcherComes() {
        ScriptedTray tray(name());
        tray.start();
        ItemFixture fixture(ItemFixture::Stalls::mayHappen);
        fixture.item.show();
        QVERIFY(waitUntil([&] { return tray.count() == 1 && fixture.item.isOnPanel(); }));
        QCOMPARE(fixture.item.textWay(), TextWay::dockedWindow);
        for (int round = 0; round < 3; ++round) {
            fixture.startWatcher();
            QVERIFY(waitUntil([&] { return fixture.watcher.items().size() == 1; }));
            QVERIFY(waitUntil([&] { return tray.count() == 0; }));
            QCOMPARE(fixture.item.textWay(), TextWay::label);
            QVERIFY(fixture.becomesRegistered());
            fixture.stopWatcher();
            QVERIFY(waitUntil([&] { return tray.count() == 1 && fixture.item.isOnPanel(); }));
        }
    }

    void aPanelThatShowsWindowsBetterGetsNoItemBesideIt() {
        ScriptedTray tray(name());
        tray.start();
        ItemFixture fixture(ItemFixture::Stalls::mayHappen);
        const PanelProcess panel(fixture, u"wrapper-2.0"_s);
        fixture.item.show();
        QVERIFY(waitUntil([&] { return tray.count() == 1 && fixture.item.isOnPanel(); }));
        QCOMPARE(fixture.item.textWay(), TextWay::dockedWindow);
        QCOMPARE(registeredWith(fixture), QStringList());
    }

    void aPanelWhoseTrayStartsAfterItsWatcherGetsTheWindowOnly() {
        ItemFixture fixture(ItemFixture::Stalls::mayHappen);
        const PanelProcess panel(fixture, u"wrapper-2.0"_s);
        fixture.item.show();
        QVERIFY(waitUntil([&] { return fixture.item.textWay() == TextWay::dockedWindow; }));
        ScriptedTray tray(name());
        tray.start();
        QVERIFY(waitUntil([&] { return tray.count() == 1 && fixture.item.isOnPanel(); }));
        QCOMPARE(registeredWith(fixture), QStringList());
    }

    void aPanelWithoutATrayGetsTheSquare() {
        ItemFixture fixture(ItemFixture::Stalls::mayHappen);
        const PanelProcess panel(fixture, u"wrapper-2.0"_s);
        fixture.item.show();
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.item.textWay(), TextWay::square);
        QCOMPARE(registeredWith(fixture), QStringList{fixture.connection.baseService()});
    }

    void aPanelThatLetsTheWindowGoGetsTheSquare() {
        ScriptedTray tray(name());
        tray.start();
        ItemFixture fixture(ItemFixture::Stalls::mayHappen);
        const PanelProcess panel(fixture, u"wrapper-2.0"_s);
        fixture.item.show();
        QVERIFY(waitUntil([&] { return tray.count() == 1 && fixture.item.isOnPanel(); }));
        tray.letGo(tray.asked()[0]);
        QVERIFY(waitUntil([&] { return fixture.item.textWay() == TextWay::square; }));
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(tray.count(), 0);
    }

    void onePanelAfterAnotherShowsTheItemOnce() {
        ScriptedTray tray(name());
        tray.start();
        ItemFixture fixture(ItemFixture::Stalls::mayHappen);
        fixture.item.show();
        for (int round = 0; round < 2; ++round) {
            {
                const PanelProcess labels(fixture, u"notification-area-applet"_s);
                QVERIFY(waitUntil([&] { return fixture.item.textWay() == TextWay::label; }));
                QVERIFY(fixture.becomesRegistered());
                QVERIFY(waitUntil([&] { return tray.count() == 0; }));
                QCOMPARE(registeredWith(fixture).size(), 1);
            }
            const PanelProcess docking(fixture, u"wrapper-2.0"_s);
            QVERIFY(waitUntil([&] { return tray.count() == 1; }));
            QCOMPARE(fixture.item.textWay(), TextWay::dockedWindow);
            QCOMPARE(registeredWith(fixture), QStringList());
        }
    }

    void aClickOnTheWindowAsksForTheMenu() {
        ScriptedTray tray(name());
        tray.start();
        ItemFixture fixture(ItemFixture::Stalls::mayHappen);
        fixture.item.show();
        QSignalSpy requests(&fixture.item, &StatusItem::menuRequested);
        QVERIFY(waitUntil([&] { return tray.count() == 1 && tray.look(tray.asked()[0])->visible; }));
        fixture.unwatched([&] {
            movePointerTo(ScriptedTray::left + 10, ScriptedTray::top + 5);
            xdotool({u"click"_s, u"1"_s});
        });
        QVERIFY(waitUntil([&] { return requests.count() == 1; }));
    }

private:
    [[nodiscard]] static QByteArray name() { return qgetenv("DISPLAY"); }

    [[nodiscard]] static bool docks(DockedItem& item, ScriptedTray& tray) {
        item.setFace(amount, black());
        return waitUntil([&] { return item.state() == State::docked && tray.count() == 1; });
    }

    static void xdotool(const QStringList& arguments) {
        ChildProcess process(u"xdotool"_s, arguments);
        QCOMPARE(process.waitForExit(), 0);
    }

    static void movePointerTo(int x, int y) {
        xdotool({u"mousemove"_s, QString::number(x), QString::number(y)});
    }

    /// What the owner of the watcher's name has been given.
    [[nodiscard]] static QStringList registeredWith(ItemFixture& fixture) {
        auto call =
            QDBusMessage::createMethodCall(u"org.kde.StatusNotifierWatcher"_s, u"/StatusNotifierWatcher"_s,
                                           u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
        call << u"org.kde.StatusNotifierWatcher"_s << u"RegisteredStatusNotifierItems"_s;
        QDBusMessage answer;
        fixture.unwatched([&] { answer = fixture.bus.connect().call(call); });
        return answer.arguments().value(0).value<QDBusVariant>().variant().toStringList();
    }

    QTemporaryDir runtimeFolder;
};

namespace {

int runTests(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    DockedItemTest test;
    return QTest::qExec(&test, argc, argv);
}

/// An X server must be there before the application is, so this program starts one, and itself on it; its own
/// first argument is the test.
int runOnDisplayOfItsOwn(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const VirtualDisplay display;
    ChildProcess tests(QCoreApplication::applicationFilePath(), QCoreApplication::arguments(),
                       display.environment());
    const auto pass = [&tests] {
        std::fputs(tests.readAll().constData(), stdout);
        std::fflush(stdout);
        return !tests.isRunning();
    };
    return waitUntil(pass, std::chrono::minutes(4)) && pass() ? tests.waitForExit() : 1;
}

} // namespace

int DockedItemTestMain(int argc, char** argv) {
    return qgetenv("QT_QPA_PLATFORM") == "xcb" ? runTests(argc, argv) : runOnDisplayOfItsOwn(argc, argv);
}

#include "DockedItemTest.moc"
