#include "platform/tray/PaintedIcon.h"
#include "support/TestMain.h"

#include <QGuiApplication>
#include <QTest>
#include <QtEndian>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

Q_DECLARE_METATYPE(quillo::ItemFace)

namespace {

const ItemFace amount{u"creditcard"_s, u"$1,234.57"_s, u"1.2k"_s};

QImage imageOf(const dbus::Pixmap& pixmap) {
    QImage image(pixmap.width, pixmap.height, QImage::Format_ARGB32);
    qFromBigEndian<quint32>(pixmap.bytes.constData(), image.width() * static_cast<qsizetype>(image.height()),
                            image.bits());
    return image;
}

/// The smallest rectangle around everything that can be seen.
QRect inkOf(const QImage& image) {
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0) {
                ink |= QRect(x, y, 1, 1);
            }
        }
    }
    return ink;
}

QList<QSize> sizesOf(const dbus::Pixmaps& pixmaps) {
    QList<QSize> sizes;
    for (const auto& pixmap : pixmaps) {
        sizes.append({pixmap.width, pixmap.height});
    }
    return sizes;
}

} // namespace

class PaintedIconTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aRowComesInThreeScalesOfOneShape() {
        const auto size = wideSize(amount, {});
        QCOMPARE(size.height(), 22);
        QVERIFY(size.width() > 60);
        QCOMPARE(sizesOf(wideIcons(amount, {})), (QList{size, size * 2, size * 3}));
    }

    void aRowIsPaintedInTheHeightThatThePanelShowsAndNotScaledFromAnother() {
        const auto rows = wideIcons(amount, {}, 24, 2);
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows[0].height, 24);
        QCOMPARE(rows[1].height, 48);
        // Strokes that were painted for these pixels have steeper edges than scaled ones.
        const auto steepness = [](const QImage& image) {
            qint64 sum = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 1; x < image.width(); ++x) {
                    const qint64 step = qAlpha(image.pixel(x, y)) - qAlpha(image.pixel(x - 1, y));
                    sum += step * step;
                }
            }
            return sum;
        };
        for (const auto& row : rows) {
            const auto image = imageOf(row);
            const auto scaled = imageOf(wideIcons(amount, {}).last())
                                    .scaled(image.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            QVERIFY(steepness(image) > steepness(scaled) * 11 / 10);
            const auto ink = inkOf(image);
            QVERIFY(ink.top() > 0 && ink.bottom() < image.height() - 1 && ink.right() < image.width());
        }
    }

    void aSquareComesInEverySizeOfPanels() {
        QList<QSize> expected;
        for (const int side : {16, 22, 24, 32, 44, 48, 66}) {
            expected.append({side, side});
        }
        QCOMPARE(sizesOf(squareIcons(amount, {})), expected);
    }

    void bytesAreAlphaRedGreenBlue() {
        const auto pixmap = squareIcons({u"creditcard"_s, {}, {}}, {{}, QColor(0x11, 0x22, 0x33)}).first();
        QCOMPARE(pixmap.bytes.size(), 4 * 16 * 16);
        // The card is solid at its lower edge.
        const auto middle = pixmap.bytes.mid(4 * (16 * 13 + 8), 4);
        QCOMPARE(middle.toHex(), QByteArray("ff112233"));
        QCOMPARE(pixmap.bytes.left(4).toHex(), QByteArray("00000000"));
    }

    void everythingIsPaintedInTheOneColour() {
        const QColor red(Qt::red);
        auto pixmaps = wideIcons(amount, {{}, red});
        pixmaps += squareIcons(amount, {{}, red});
        for (const auto& pixmap : pixmaps) {
            const auto image = imageOf(pixmap);
            int solid = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (const auto pixel = image.pixelColor(x, y); pixel.alpha() == 255) {
                        QCOMPARE(pixel, red);
                        ++solid;
                    }
                }
            }
            QVERIFY(solid > 0);
        }
    }

    void symbolAndTextStandSideBySideInTheMiddle() {
        const auto image = imageOf(wideIcons(amount, {}).last());
        const auto symbol = inkOf(image.copy(0, 0, 3 * 16, image.height()));
        const auto between = inkOf(image.copy(3 * 16, 0, 3 * 4, image.height()));
        QVERIFY(between.isEmpty());
        QVERIFY(std::abs(symbol.center().y() - image.height() / 2) <= 1);
        // Figures alone: a comma hangs below the line.
        const auto figures = imageOf(wideIcons({u"creditcard"_s, u"1234"_s, {}}, {}).last());
        const auto text = inkOf(figures.copy(3 * 20, 0, figures.width() - 3 * 20, figures.height()));
        QVERIFY(std::abs(text.center().y() - figures.height() / 2) <= 1);
    }

    void nothingIsCutOff_data() {
        QTest::addColumn<ItemFace>("face");
        const auto row = [](const char* name, const QString& text, const QString& shortText) {
            QTest::newRow(name) << ItemFace{u"network.slash"_s, text, shortText};
        };
        row("amount", u"$1,234.57"_s, u"1.2k"_s);
        row("two amounts", u"$1,234 + $88 pend"_s, u"832"_s);
        row("credit", u"$-12.30"_s, u"-12"_s);
        row("one figure", u"$1.00"_s, u"1"_s);
        row("most", u"$999,999,999,999,999.00"_s, u"-999T+"_s);
        row("another script", u"喫茶 さくら"_s, u"١٬٢"_s);
        row("no text", {}, {});
    }

    void nothingIsCutOff() {
        QFETCH(ItemFace, face);
        for (const auto& pixmap : squareIcons(face, {})) {
            const auto ink = inkOf(imageOf(pixmap));
            QVERIFY(!ink.isEmpty());
            // A text that were cut off would touch two edges with more than a smoothed outline.
            QVERIFY(ink.width() <= pixmap.width && ink.height() <= pixmap.height);
        }
        const auto wide = imageOf(wideIcons(face, {}).last());
        const auto ink = inkOf(wide);
        QVERIFY(ink.top() > 0);
        QVERIFY(ink.bottom() < wide.height() - 1);
        QVERIFY(ink.right() < wide.width());
    }

    void aShortTextFillsItsSquare() {
        for (const auto& text : {u"832"_s, u"1.2k"_s, u"-999T+"_s}) {
            for (const auto& pixmap : squareIcons({u"creditcard"_s, {}, text}, {})) {
                const auto ink = inkOf(imageOf(pixmap));
                QVERIFY2(ink.width() * 10 >= pixmap.width * 6, qPrintable(text));
                QVERIFY(std::abs(ink.center().y() - pixmap.height / 2) <= 1);
            }
        }
    }

    void aTextWiderThanPanelsIsCutWithAnEllipsis() {
        const ItemFace endless{u"creditcard"_s, QString(500, u'W'), {}};
        QVERIFY(wideSize(endless, {}).width() <= 20 + 400);
        QCOMPARE(wideIcons(endless, {}).size(), 3);
    }

    void aFontOfAnySizeFitsTheRow_data() {
        QTest::addColumn<QFont>("font");
        for (const int points : {1, 6, 10, 24, 200}) {
            QTest::addRow("%d pt", points) << QFont(QString(), points);
        }
        QFont pixels;
        pixels.setPixelSize(30);
        QTest::newRow("30 px") << pixels;
    }

    void aFontOfAnySizeFitsTheRow() {
        QFETCH(QFont, font);
        const auto image = imageOf(wideIcons({u"creditcard"_s, u"$1,234 + $88 pend"_s, {}}, {font}).last());
        const auto ink = inkOf(image);
        QVERIFY(ink.top() > 0);
        QVERIFY(ink.bottom() < image.height() - 1);
        QVERIFY(ink.right() < image.width());
    }

    void anUnknownSymbolLeavesItsPlaceEmpty() {
        QVERIFY(inkOf(imageOf(squareIcons({u"no.such.symbol"_s, {}, {}}, {}).last())).isEmpty());
        QVERIFY(!inkOf(imageOf(wideIcons({u"no.such.symbol"_s, u"$5"_s, {}}, {}).last())).isEmpty());
    }

    void theSameFaceIsTheSamePicture() {
        QVERIFY(wideIcons(amount, {}) == wideIcons(amount, {}));
        QVERIFY(squareIcons(amount, {}) == squareIcons(amount, {}));
        QVERIFY(squareIcons(amount, {}) != squareIcons({u"creditcard"_s, {}, u"1.3k"_s}, {}));
    }
};

QUILLO_TEST(PaintedIconTest, QGuiApplication)
#include "PaintedIconTest.moc"
