#include "ui/ledger/LedgerBanner.h"

#include "core/PlainText.h"
#include "platform/symbols/Symbols.h"
#include "ui/Colours.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

namespace quillo {

namespace {

constexpr int symbolSize = 18;
constexpr double tintOpacity = 0.14;
constexpr double cornerRadius = 6;

QLabel* plainLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    // A word without end must not make the window wider.
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

} // namespace

LedgerBanner::LedgerBanner(std::function<void()> onButton, QWidget* parent)
    : QFrame(parent),
      symbol(new QLabel(this)),
      headline(plainLabel(this)),
      subtitle(plainLabel(this)),
      button(new QPushButton(this)) {
    auto headlineFont = font();
    headlineFont.setWeight(QFont::DemiBold);
    headlineFont.setPointSizeF(headlineFont.pointSizeF() * 1.1);
    headline->setFont(headlineFont);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(headline);
    texts->addWidget(subtitle);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(12, 8, 12, 8);
    row->setSpacing(10);
    row->addWidget(symbol, 0, Qt::AlignVCenter);
    row->addLayout(texts, 1);
    row->addWidget(button, 0, Qt::AlignVCenter);
    connect(button, &QPushButton::clicked, this, [onButton = std::move(onButton)] { onButton(); });
    hide();
}

void LedgerBanner::setContent(const std::optional<BannerContent>& content) {
    if (content == shown) {
        return;
    }
    shown = content;
    setVisible(shown.has_value());
    if (!shown) {
        return;
    }
    headline->setText(shown->headline);
    headline->setVisible(!shown->headline.isEmpty());
    subtitle->setText(plainLine(shown->subtitle.value_or(QString())));
    subtitle->setVisible(shown->subtitle.has_value());
    button->setText(shown->buttonTitle);
    button->setVisible(!shown->buttonTitle.isEmpty());
    setAccessibleName(shown->headline.isEmpty() ? subtitle->text() : shown->headline);
    paintSymbol();
    update();
}

QColor LedgerBanner::colour() const {
    const auto colours = Colours::on(palette());
    using Tone = BannerContent::Tone;
    const auto tone = shown ? shown->tone : Tone::neutral;
    return tone == Tone::red      ? colours.red
           : tone == Tone::orange ? colours.orange
                                  : palette().color(QPalette::Highlight);
}

void LedgerBanner::paintSymbol() {
    if (shown) {
        symbol->setPixmap(symbolPixmap(shown->symbol, symbolSize, colour(), devicePixelRatioF()));
    }
}

void LedgerBanner::changeEvent(QEvent* event) {
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        paintSymbol();
    }
}

void LedgerBanner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    auto tint = colour();
    tint.setAlphaF(static_cast<float>(tintOpacity));
    painter.setPen(Qt::NoPen);
    painter.setBrush(tint);
    painter.drawRoundedRect(rect(), cornerRadius, cornerRadius);
}

} // namespace quillo
