#include "ui/ledger/LedgerTableStyle.h"

#include <QStyleOptionHeader>

namespace quillo {

namespace {

/// Added to what styles give a header for its height.
constexpr int headerRoom = 6;

} // namespace

int LedgerTableStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                                  const QWidget* widget) const {
    // Styles add one pixel of their own between the frame and a cell's text.
    return metric == PM_FocusFrameHMargin ? textInset - 1 : QProxyStyle::pixelMetric(metric, option, widget);
}

void LedgerTableStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                                   const QWidget* widget) const {
    const auto* header = qstyleoption_cast<const QStyleOptionHeader*>(option);
    if (element != CE_HeaderLabel || !header) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    auto label = *header;
    const auto inset = textInset - pixelMetric(PM_HeaderMargin, option, widget);
    // An arrow has the end of the column for itself.
    const auto atEnd = label.sortIndicator == QStyleOptionHeader::None ? inset : 0;
    const bool leftToRight = label.direction == Qt::LeftToRight;
    label.rect.adjust(leftToRight ? inset : atEnd, 0, leftToRight ? -atEnd : -inset, 0);
    QProxyStyle::drawControl(element, &label, painter, widget);
}

QSize LedgerTableStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                         const QWidget* widget) const {
    auto result = QProxyStyle::sizeFromContents(type, option, size, widget);
    if (type == CT_HeaderSection) {
        result.rheight() += headerRoom;
    }
    return result;
}

} // namespace quillo
