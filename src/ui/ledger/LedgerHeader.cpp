#include "ui/ledger/LedgerHeader.h"

#include "core/PlainText.h"
#include "platform/symbols/Symbols.h"
#include "store/AppStore.h"
#include "ui/Colours.h"
#include "ui/Controls.h"
#include "ui/Environment.h"
#include "ui/Fonts.h"
#include "ui/MenuBarLabel.h"
#include "ui/NumberFormat.h"
#include "ui/Spinner.h"
#include "ui/ledger/LedgerBanner.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

namespace quillo {

namespace {

constexpr double largeFigure = 36;
constexpr double mediumFigure = 24;
constexpr double leastFigureScale = 0.4;
constexpr int figureSpacing = 10;
constexpr int spinnerSize = 28;
constexpr int cardSymbolSize = 14;

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
    return label(parent, parent->font().pointSizeF() * captionScale);
}

QString dollars(double amount) {
    return NumberFormat::dollars(amount, 2);
}

/// The lines of the header read from left to right, also when they begin with an amount in a script that does
/// not.
void showLine(QLabel* label, const QString& text) {
    label->setText(text.isRightToLeft() ? QChar(0x200E) + text : text);
}

std::optional<LedgerBanner::Content> linkCondition(const AppStore& store) {
    using Tone = LedgerBanner::Tone;
    const auto symbol = QStringLiteral("exclamationmark.triangle.fill");
    if (store.needsReconnect()) {
        return LedgerBanner::Content{.symbol = symbol,
                                     .headline = QStringLiteral("Bank connection needs re-authentication"),
                                     .subtitle = store.reconnectMessage(),
                                     .buttonTitle = QStringLiteral("Reconnect now"),
                                     .tone = Tone::red};
    }
    if (store.needsAddCreditCard()) {
        return LedgerBanner::Content{.symbol = symbol,
                                     .headline = QStringLiteral("No credit card linked"),
                                     .subtitle = store.addCreditMessage(),
                                     .buttonTitle = QStringLiteral("Re-run Link"),
                                     .tone = Tone::orange};
    }
    if (store.hasBankOutage()) {
        return LedgerBanner::Content{.symbol = symbol,
                                     .headline = QStringLiteral("Bank is having a service issue"),
                                     .subtitle = store.outageMessage(),
                                     .tone = Tone::orange};
    }
    return std::nullopt;
}

} // namespace

LedgerHeader::LedgerHeader(QWidget* parent)
    : QWidget(parent),
      store(Environment::store()),
      snapshotBanner(new LedgerBanner([this] { Q_EMIT backToLiveRequested(); }, this)),
      linkBanner(new LedgerBanner([this] { store.openReconnect(); }, this)),
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
    column->setContentsMargins(12, 12, 12, 12);
    column->setSpacing(10);
    column->addWidget(snapshotBanner);
    column->addWidget(linkBanner);
    column->addWidget(totals);
    column->addWidget(error);
    column->addWidget(spinner, 0, Qt::AlignHCenter);
}

void LedgerHeader::layOutTotals() {
    plus->setText(QStringLiteral("+"));
    pendingWord->setText(QStringLiteral("pending"));
    equals->setText(QStringLiteral("="));

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
    totals->installEventFilter(this);
}

void LedgerHeader::render() {
    renderBanners();
    const auto* ledger = store.visibleTimeline();
    totals->setVisible(ledger != nullptr);
    if (ledger) {
        renderTotals(*ledger);
    }
    renderAbsence();
}

void LedgerHeader::renderBanners() {
    std::optional<LedgerBanner::Content> snapshot;
    if (store.isViewingSnapshot()) {
        snapshot = {.symbol = QStringLiteral("clock.arrow.circlepath"),
                    .subtitle = QStringLiteral("Viewing snapshot from ") + **store.selectedSnapshotDate +
                                QStringLiteral(" — read-only, frozen at end of that day."),
                    .buttonTitle = QStringLiteral("Back to live")};
    }
    snapshotBanner->setContent(snapshot);
    linkBanner->setContent(linkCondition(store));
}

void LedgerHeader::renderTotals(const Timeline& ledger) {
    const auto colours = Colours::on(palette());
    const bool hasPending = ledger.pendingHolds >= MenuBarLabel::leastPending;
    caption->setText(hasPending ? QStringLiteral("TOTAL OWED (POSTED + PENDING AUTHORIZATIONS)")
                                : QStringLiteral("OWED NOW"));
    colourText(caption, colours.secondary);
    showLine(posted, dollars(ledger.totalOwed));
    for (auto* figure : {plus, pending, pendingWord, equals, total}) {
        figure->setVisible(hasPending);
    }
    showLine(pending, dollars(ledger.pendingHolds));
    colourText(pending, colours.orange);
    colourText(pendingWord, colours.secondary);
    showLine(total, dollars(ledger.totalWithPending));

    cardSymbol->setVisible(hasPending);
    cardSymbol->setPixmap(
        symbolPixmap(QStringLiteral("creditcard"), cardSymbolSize, colours.secondary, devicePixelRatioF()));
    showLine(available, hasPending ? dollars(ledger.available) + QStringLiteral(" available")
                                   : QStringLiteral("Available ") + dollars(ledger.available));
    colourText(available, colours.secondary);
    asOf->setText(QStringLiteral("as of ") + plainLine(ledger.asOf));
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
    double room = totals->width();
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

bool LedgerHeader::eventFilter(QObject* watched, QEvent* event) {
    if (watched == totals && event->type() == QEvent::Resize) {
        fitFigures();
    }
    return QWidget::eventFilter(watched, event);
}

void LedgerHeader::renderAbsence() {
    const bool isAbsent = store.visibleTimeline() == nullptr;
    const auto& problem = store.lastError.get();
    std::optional<LedgerBanner::Content> content;
    if (isAbsent && problem) {
        content = {.symbol = QStringLiteral("exclamationmark.triangle"),
                   .subtitle = *problem,
                   .tone = LedgerBanner::Tone::red};
    }
    error->setContent(content);
    spinner->setVisible(isAbsent && !problem);
}

} // namespace quillo
