#include "ui/Spinner.h"

#include <QPainter>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int spokes = 12;
constexpr int stepMilliseconds = 80;
} // namespace

Spinner::Spinner(int size, QWidget* parent) : QWidget(parent), diameter(size) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(u"Loading"_s);
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(rect().center() + QPointF(0.5, 0.5));
    const double outer = diameter / 2.0 - 1;
    const double inner = outer * 0.55;
    auto colour = palette().color(QPalette::WindowText);
    for (int spoke = 0; spoke < spokes; ++spoke) {
        const int age = (step - spoke + spokes) % spokes;
        colour.setAlphaF(static_cast<float>(0.15 + 0.65 * (spokes - age) / spokes));
        painter.setPen(QPen(colour, std::max(1.5, diameter / 11.0), Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, -inner), QPointF(0, -outer));
        painter.rotate(360.0 / spokes);
    }
}

void Spinner::timerEvent(QTimerEvent*) {
    step = (step + 1) % spokes;
    update();
}

void Spinner::showEvent(QShowEvent*) {
    timer.start(stepMilliseconds, this);
}

void Spinner::hideEvent(QHideEvent*) {
    timer.stop();
}

} // namespace quillo
