#include "ui/Colours.h"
#include "support/TestMain.h"

#include <QApplication>
#include <QPalette>
#include <QSet>
#include <QTest>

#include <cmath>

using namespace quillo;

namespace {

double luminance(const QColor& color) {
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// Web Content Accessibility Guidelines 2.1, "contrast ratio".
double contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QPalette paletteOf(QRgb text, QRgb background) {
    QPalette palette{QColor(background)};
    palette.setColor(QPalette::WindowText, QColor(text));
    palette.setColor(QPalette::Window, QColor(background));
    palette.setColor(QPalette::Text, QColor(text));
    palette.setColor(QPalette::Base, QColor(background));
    return palette;
}

} // namespace

class ColoursTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyColourIsLegibleOnEveryTheme_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("white") << paletteOf(0x000000, 0xffffff);
        QTest::newRow("light grey") << paletteOf(0x232629, 0xeff0f1);
        QTest::newRow("beige") << paletteOf(0x2e3436, 0xedeceb);
        QTest::newRow("dark grey") << paletteOf(0xffffff, 0x353535);
        QTest::newRow("dark blue") << paletteOf(0xfcfcfc, 0x2a2e32);
        QTest::newRow("black") << paletteOf(0xffffff, 0x000000);
    }
    void everyColourIsLegibleOnEveryTheme() {
        QFETCH(QPalette, palette);
        const auto background = palette.color(QPalette::Window);
        const auto colours = Colours::on(palette);
        for (const auto& colour : {colours.red, colours.orange, colours.green, colours.secondary,
                                   colours.tertiary, colours.prompt}) {
            const auto ratio = contrast(colour, background);
            QVERIFY2(ratio >= 4.5, qPrintable(colour.name() + u' ' + QString::number(ratio)));
        }
    }

    void coloursDiffer() {
        for (const auto& palette : {paletteOf(0x000000, 0xffffff), paletteOf(0xffffff, 0x353535)}) {
            const auto colours = Colours::on(palette);
            const QSet<QRgb> distinct{colours.red.rgb(),      colours.orange.rgb(),
                                      colours.green.rgb(),    colours.secondary.rgb(),
                                      colours.tertiary.rgb(), palette.color(QPalette::WindowText).rgb()};
            QCOMPARE(distinct.size(), 6);
        }
    }
};

QUILLO_TEST(ColoursTest, QApplication)
#include "ColoursTest.moc"
