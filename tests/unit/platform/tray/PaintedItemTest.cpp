#include "ItemFixture.h"
#include "platform/tray/PaintedIcon.h"
#include "support/TestMain.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

const ItemFace amount{.symbol = u"creditcard"_s, .text = u"$1,234.57"_s, .shortText = u"1.2k"_s};

/// An item that paints, and its panel's view of it.
struct PaintingFixture : ItemFixture {
    explicit PaintingFixture(const QString& program) {
        item.setFace(amount);
        item.show();
        host.emplace(*this, program);
    }

    [[nodiscard]] dbus::Pixmaps pixmaps() {
        return qdbus_cast<dbus::Pixmaps>(panel.itemProperty(u"IconPixmap"_s));
    }

    [[nodiscard]] QString toolTip() {
        return qdbus_cast<dbus::ToolTip>(panel.itemProperty(u"ToolTip"_s)).title;
    }

    std::optional<PanelProcess> host;
};

} // namespace

/// Panels that show no text of programs get it painted.
class PaintedItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(runtimeFolder.isValid());
        QFile::setPermissions(runtimeFolder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toUtf8());
        for (const auto& symbol : {u"creditcard"_s, u"network.slash"_s, u"hourglass"_s}) {
            (void)squareIcons({symbol, {}, {}}, {}); // the first of a process reads its file
        }
        (void)wideIcons({u"creditcard"_s, u"Quillo · $1…"_s, {}}, {}); // and loads fonts
    }

    void aWideIconCarriesSymbolAndText_data() {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QList<int>>("heights");
        for (const auto& program : {u"waybar"_s, u"gtk-sni-tray-standalone"_s, u"taffybar"_s}) {
            QTest::newRow(qPrintable(program)) << program << QList{22, 44, 66};
        }
        QTest::newRow("xapp-sn-watcher") << u"xapp-sn-watcher"_s << QList{24, 48};
    }

    void aWideIconCarriesSymbolAndText() {
        QFETCH(QString, program);
        QFETCH(QList<int>, heights);
        PaintingFixture fixture(program);
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.item.textWay(), TextWay::wideIcon);
        QList<int> sent;
        for (const auto& pixmap : fixture.pixmaps()) {
            sent << pixmap.height;
            QVERIFY(pixmap.width > 3 * pixmap.height);
        }
        QCOMPARE(sent, heights);
        // Either of these would be shown beside the picture, or in its place.
        QCOMPARE(fixture.panel.itemProperty(u"XAyatanaLabel"_s), QString());
        QCOMPARE(fixture.panel.itemProperty(u"IconName"_s), QString());
        QCOMPARE(fixture.toolTip(), u"$1,234.57"_s);
    }

    void aSquareCarriesTheShortTextAndTitleAndToolTipTheWhole_data() {
        QTest::addColumn<QString>("program");
        for (const auto& program :
             {u"kded5"_s, u"kded6"_s, u"plasmashell"_s, u"lxqt-panel"_s, u"wrapper-2.0"_s}) {
            QTest::newRow(qPrintable(program)) << program;
        }
    }

    void aSquareCarriesTheShortTextAndTitleAndToolTipTheWhole() {
        QFETCH(QString, program);
        PaintingFixture fixture(program);
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.item.textWay(), TextWay::square);
        const auto withAmount = fixture.pixmaps();
        QCOMPARE(withAmount.size(), 7);
        for (const auto& pixmap : withAmount) {
            QCOMPARE(pixmap.width, pixmap.height);
        }
        QCOMPARE(fixture.panel.itemProperty(u"XAyatanaLabel"_s), QString());
        QCOMPARE(fixture.panel.itemProperty(u"IconName"_s), QString());
        QCOMPARE(fixture.panel.itemProperty(u"Title"_s), u"$1,234.57"_s);
        QCOMPARE(fixture.toolTip(), u"$1,234.57"_s);
        // Every other state is told by its symbol.
        fixture.item.setFace({.symbol = u"network.slash"_s, .text = u"Quillo · Bank issue"_s});
        const auto withSymbol = fixture.pixmaps();
        QVERIFY(withSymbol != withAmount);
        fixture.item.setFace({.symbol = u"hourglass"_s, .text = u"Quillo…"_s});
        QVERIFY(fixture.pixmaps() != withSymbol);
        QCOMPARE(fixture.panel.itemProperty(u"Title"_s), u"Quillo…"_s);
    }

    void aNewPictureIsAnnouncedButNotSent() {
        PaintingFixture fixture(u"waybar"_s);
        QVERIFY(fixture.becomesRegistered());
        (void)fixture.panel.takeSignals();
        fixture.item.setFace({.symbol = u"creditcard"_s, .text = u"$9.00"_s, .shortText = u"9"_s});
        const auto sent = fixture.panel.takeSignals();
        QStringList names;
        for (const auto& message : sent) {
            names.append(message.member());
        }
        QCOMPARE(names, (QStringList{u"NewIcon"_s, u"NewToolTip"_s, u"PropertiesChanged"_s}));
        QCOMPARE(qdbus_cast<QVariantMap>(sent.back().arguments().value(1)).keys(), QStringList{u"ToolTip"_s});
        QCOMPARE(sent.back().arguments().value(2).toStringList(), QStringList{u"IconPixmap"_s});
    }

    void theSameContentSendsNothing_data() {
        QTest::addColumn<QString>("program");
        QTest::newRow("wide icon") << u"waybar"_s;
        QTest::newRow("square") << u"lxqt-panel"_s;
    }

    void theSameContentSendsNothing() {
        QFETCH(QString, program);
        PaintingFixture fixture(program);
        QVERIFY(fixture.becomesRegistered());
        (void)fixture.panel.takeSignals();
        for (int round = 0; round < 20; ++round) {
            fixture.item.setFace(amount);
            drainEvents();
        }
        // Looks the same, too.
        fixture.item.setFace(
            {.symbol = u"creditcard"_s, .text = u"$1,234.57"_s + QChar(0x202E), .shortText = u"1.2k"_s});
        QCOMPARE(fixture.signalNames(), QStringList());
    }

    void eachPanelIsServedItsOwnWay() {
        PaintingFixture fixture(u"kded6"_s);
        QVERIFY(fixture.becomesRegistered());
        QCOMPARE(fixture.pixmaps().size(), 7);
        const auto changeTo = [&fixture](const QString& program) {
            fixture.host.reset();
            QVERIFY(waitUntil([&] { return !fixture.item.isOnPanel(); }));
            fixture.host.emplace(fixture, program);
            QVERIFY(fixture.becomesRegistered());
        };
        changeTo(u"waybar"_s);
        QCOMPARE(fixture.pixmaps().size(), 3);
        QCOMPARE(fixture.panel.itemProperty(u"Title"_s), u"Quillo"_s);
        changeTo(u"some-panel"_s);
        QCOMPARE(fixture.item.textWay(), TextWay::label);
        QVERIFY(fixture.pixmaps().isEmpty());
        QCOMPARE(fixture.panel.itemProperty(u"XAyatanaLabel"_s), u"$1,234.57"_s);
        QCOMPARE(fixture.panel.itemProperty(u"IconName"_s), u"quillo-creditcard-symbolic"_s);
        changeTo(u"lxqt-panel"_s);
        QCOMPARE(fixture.pixmaps().size(), 7);
        QCOMPARE(fixture.panel.itemProperty(u"XAyatanaLabel"_s), QString());
    }

    void aPanelThatOnlyPassesClicksOnGetsTheProgramsMenu() {
        PaintingFixture fixture(u"lxqt-panel"_s);
        QVERIFY(fixture.becomesRegistered());
        QSignalSpy requests(&fixture.item, &StatusItem::menuRequested);
        QCOMPARE(fixture.panel.callItem(u"Activate"_s, {30, 40}).type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&] { return requests.count() == 1; }));
    }

private:
    QTemporaryDir runtimeFolder;
};

QUILLO_TEST(PaintedItemTest, QGuiApplication)
#include "PaintedItemTest.moc"
