#include "ui/ledger/LedgerHeader.h"

#include "core/PlainText.h"
#include "platform/symbols/Symbols.h"
#include "ui/Colours.h"
#include "ui/Controls.h"
#include "ui/Spinner.h"

#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr double largeFigure = 36;
constexpr double mediumFigure = 24;
constexpr double leastFigureScale = 0.4;
constexpr int margin = 12;
constexpr int figureSpacing = 10;
constexpr int spinnerSize = 28;
constexpr int cardSymbolSize = 14;
constexpr int bannerSymbolSize = 18;
constexpr double tintOpacity = 0.14;
constexpr double cornerRadius = 6;

QLabel* wrappedLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    // A word without end must not make the window wider.
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

QLabel* label(QWidget* parent, double pointSize = 0, QFont::Weight weight = QFont::Normal) {
    auto* text = new QLabel(parent);
    text->setTextFormat(Qt::PlainText);
    auto font = text->font();
    font.setPointSizeF(pointSize > 0 ? pointSize : font.pointSizeF());
    font.setWeight(weight);
    useFixedWidthDigits(font);
    text->setFont(font);
    return text;
}

QLabel* captionLabel(QWidget* parent) {
    auto* text = label(parent);
    text->setFont(captionFont(text->font()));
    return text;
}

/// The lines of the header read from left to right, also when they begin with an amount in a script that does
/// not.
void showLine(QLabel* label, const QString& text) {
    label->setText(text.isRightToLeft() ? QChar(0x200E) + text : text);
}

} // namespace

/// Shows a `BannerContent`.
class LedgerBanner final : public QFrame {
public:
    LedgerBanner(std::function<void()> onButton, QWidget* parent = nullptr);

    /// Shows the content, or nothing at all.
    void setContent(const std::optional<BannerContent>& content);

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void paintSymbol();
    [[nodiscard]] QColor colour() const;

    QLabel* symbol;
    QLabel* headline;
    QLabel* subtitle;
    QPushButton* button;
    std::optional<BannerContent> shown;
};

LedgerBanner::LedgerBanner(std::function<void()> onButton, QWidget* parent)
    : QFrame(parent),
      symbol(new QLabel(this)),
      headline(wrappedLabel(this)),
      subtitle(wrappedLabel(this)),
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
        symbol->setPixmap(symbolPixmap(shown->symbol, bannerSymbolSize, colour(), devicePixelRatioF()));
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

LedgerHeader::LedgerHeader(QWidget* parent)
    : QWidget(parent),
      snapshotBanner(new LedgerBanner([this] { Q_EMIT backToLiveRequested(); }, this)),
      linkBanner(new LedgerBanner([this] { Q_EMIT reconnectRequested(); }, this)),
      totals(new QWidget(this)),
      caption(captionLabel(totals)),
      posted(label(totals, largeFigure, QFont::DemiBold)),
      plus(label(totals, mediumFigure)),
      pending(label(totals, mediumFigure, QFont::Medium)),
      pendingWord(label(totals)),
      equals(label(totals, mediumFigure)),
      total(label(totals, largeFigure, QFont::DemiBold)),
      cardSymbol(new QLabel(totals)),
      available(captionLabel(totals)),
      asOf(captionLabel(totals)),
      error(new LedgerBanner([] {}, this)),
      spinner(new Spinner(spinnerSize, this)) {
    layOutTotals();
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(10);
    column->addWidget(snapshotBanner);
    column->addWidget(linkBanner);
    column->addWidget(totals);
    column->addWidget(error);
    column->addWidget(spinner, 0, Qt::AlignHCenter);
}

void LedgerHeader::layOutTotals() {
    plus->setText(u"+"_s);
    pendingWord->setText(u"pending"_s);
    equals->setText(u"="_s);

    auto* figures = new QHBoxLayout;
    figures->setSpacing(figureSpacing);
    for (auto* figure : {posted, plus, pending, pendingWord, equals, total}) {
        figures->addWidget(figure, 0, Qt::AlignBottom);
    }
    figures->addStretch(1);

    auto* credit = new QHBoxLayout;
    credit->setSpacing(6);
    credit->addWidget(cardSymbol);
    credit->addWidget(available);
    credit->addWidget(asOf);
    credit->addStretch(1);

    // The figures give way to the window, not the other way round.
    totals->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto* column = new QVBoxLayout(totals);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addWidget(caption);
    column->addLayout(figures);
    column->addLayout(credit);
}

void LedgerHeader::setContent(const LedgerHeaderContent& content) {
    snapshotBanner->setContent(content.snapshot);
    linkBanner->setContent(content.link);
    error->setContent(content.error);
    spinner->setVisible(content.isWaiting);
    totals->setVisible(content.totals.has_value());
    if (content.totals) {
        showTotals(*content.totals);
    }
}

void LedgerHeader::showTotals(const LedgerTotals& figures) {
    const auto colours = Colours::on(palette());
    caption->setText(figures.caption);
    colourText(caption, colours.secondary);
    showLine(posted, figures.posted);
    showLine(pending, figures.pending);
    showLine(total, figures.total);
    for (auto* figure : {plus, pending, pendingWord, equals, total}) {
        figure->setVisible(figures.hasPending());
    }
    colourText(pending, colours.orange);
    colourText(pendingWord, colours.secondary);

    cardSymbol->setVisible(figures.hasPending());
    cardSymbol->setPixmap(
        symbolPixmap(u"creditcard"_s, cardSymbolSize, colours.secondary, devicePixelRatioF()));
    showLine(available, figures.available);
    colourText(available, colours.secondary);
    asOf->setText(figures.asOf);
    colourText(asOf, colours.tertiary);
    fitFigures();
}

/// Makes the figures smaller where the window is too narrow for all of their digits: half a number reads like
/// another one.
void LedgerHeader::fitFigures() {
    const std::pair<QLabel*, double> figures[] = {{posted, largeFigure},
                                                  {plus, mediumFigure},
                                                  {pending, mediumFigure},
                                                  {equals, mediumFigure},
                                                  {total, largeFigure}};
    double room = width() - 2 * margin;
    double needed = 0;
    for (const auto& [figure, size] : figures) {
        if (!figure->isHidden()) {
            auto fullFont = figure->font();
            fullFont.setPointSizeF(size);
            needed += std::ceil(QFontMetricsF(fullFont).horizontalAdvance(figure->text()));
            room -= figureSpacing;
        }
    }
    if (!pendingWord->isHidden()) {
        room -= pendingWord->sizeHint().width() + figureSpacing;
    }
    const auto scale = std::clamp(room / needed, leastFigureScale, 1.0);
    for (const auto& [figure, size] : figures) {
        auto fitting = figure->font();
        fitting.setPointSizeF(std::floor(size * scale * 2) / 2);
        figure->setFont(fitting);
    }
    for (auto* figure : {posted, plus, pending, pendingWord, equals, total}) {
        // Box layouts know no baseline: what a smaller font has less below its own is made up for.
        const auto lift = posted->fontMetrics().descent() - figure->fontMetrics().descent();
        figure->setContentsMargins(0, 0, 0, std::max(0, lift));
    }
}

void LedgerHeader::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fitFigures();
}

} // namespace quillo
