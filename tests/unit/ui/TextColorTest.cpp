#include "ui/TextColor.h"

#include <QFont>
#include <QPalette>
#include <QTest>

#include <cmath>

using namespace quillo;

namespace {

using Style = MenuEntry::Style;

double luminance(const QColor& color) {
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// Web Content Accessibility Guidelines 2.1, "contrast ratio".
double contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax(luminance(one), luminance(other));
    return (lighter + 0.05) / (darker + 0.05);
}

QPalette paletteOf(QRgb text, QRgb background) {
    QPalette palette{QColor(background)};
    palette.setColor(QPalette::WindowText, QColor(text));
    palette.setColor(QPalette::Window, QColor(background));
    return palette;
}

} // namespace

class TextColorTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStyleIsLegibleOnEveryTheme_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("white") << paletteOf(0x000000, 0xffffff);
        QTest::newRow("light grey") << paletteOf(0x232629, 0xeff0f1);
        QTest::newRow("beige") << paletteOf(0x2e3436, 0xedeceb);
        QTest::newRow("dark grey") << paletteOf(0xffffff, 0x353535);
        QTest::newRow("dark blue") << paletteOf(0xfcfcfc, 0x2a2e32);
        QTest::newRow("black") << paletteOf(0xffffff, 0x000000);
    }
    void everyStyleIsLegibleOnEveryTheme() {
        QFETCH(QPalette, palette);
        const auto background = palette.color(QPalette::Window);
        for (const auto style : {Style::normal, Style::secondary, Style::red, Style::orange}) {
            const auto ratio = contrast(textColor(style, palette), background);
            QVERIFY2(ratio >= 4.5, qPrintable(QString::number(ratio)));
        }
    }

    void stylesDiffer() {
        for (const auto& palette : {paletteOf(0x000000, 0xffffff), paletteOf(0xffffff, 0x353535)}) {
            QCOMPARE(textColor(Style::normal, palette), palette.color(QPalette::WindowText));
            QSet<QRgb> colors;
            for (const auto style : {Style::normal, Style::secondary, Style::red, Style::orange}) {
                colors.insert(textColor(style, palette).rgb());
            }
            QCOMPARE(colors.size(), 4);
        }
    }

    void disabledTextsHaveTheSameColours() {
        auto palette = paletteOf(0x000000, 0xffffff);
        palette.setCurrentColorGroup(QPalette::Disabled);
        QCOMPARE(textColor(Style::normal, palette), QColor(Qt::black));
    }

    void captionsAreSmallerInEitherUnit() {
        QFont points;
        points.setPointSizeF(10);
        QCOMPARE(captionFont(points).pointSizeF(), 8.5);
        QFont pixels;
        pixels.setPixelSize(20);
        QCOMPARE(captionFont(pixels).pixelSize(), 17);
    }
};

QTEST_MAIN(TextColorTest)
#include "TextColorTest.moc"
