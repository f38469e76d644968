#include "platform/symbols/Symbols.h"
#include "support/TestMain.h"

#include <QGuiApplication>
#include <QTest>

using namespace quillo;

class SymbolsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everySymbolOfTheWindowsIsDrawnInTheColourAsked_data() {
        QTest::addColumn<QString>("name");
        for (const auto* name : {"arrow.clockwise", "building.columns", "clock.arrow.circlepath",
                                 "creditcard", "exclamationmark.triangle", "exclamationmark.triangle.fill"}) {
            QTest::newRow(name) << QString::fromLatin1(name);
        }
    }
    void everySymbolOfTheWindowsIsDrawnInTheColourAsked() {
        QFETCH(QString, name);
        const auto pixmap = symbolPixmap(name, 16, Qt::red, 2);
        QCOMPARE(pixmap.size(), QSize(32, 32));
        QCOMPARE(pixmap.devicePixelRatio(), 2.0);
        const auto image = pixmap.toImage();
        int drawn = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const auto colour = image.pixelColor(x, y);
                if (colour.alpha() == 255) {
                    QCOMPARE(colour, QColor(Qt::red));
                    ++drawn;
                }
            }
        }
        QVERIFY(drawn > 50);
    }
};

QUILLO_TEST(SymbolsTest, QGuiApplication)
#include "SymbolsTest.moc"
