#include "ui/ledger/LedgerCellDelegate.h"

#include "ui/Colours.h"
#include "ui/Controls.h"
#include "ui/ledger/LedgerTableModel.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>

namespace quillo {

namespace {

using Tone = LedgerTableModel::Tone;

constexpr int badgePaddingX = 5;
constexpr int badgePaddingY = 1;
constexpr float badgeOpacity = 0.18F;
constexpr int badgeGap = 8;

/// The smallest caption beside body text.
constexpr double badgeScale = 0.78;

QFont badgeFont(QFont font) {
    font.setPointSizeF(font.pointSizeF() * badgeScale);
    font.setWeight(QFont::DemiBold);
    return font;
}

Tone toneOf(const QModelIndex& index) {
    return static_cast<Tone>(index.data(LedgerTableModel::toneRole).toInt());
}

void paintBadge(QPainter& painter, const QRect& area, const QString& text, const QColor& colour) {
    QPainterPath capsule;
    capsule.addRoundedRect(area, area.height() / 2.0, area.height() / 2.0);
    auto fill = colour;
    fill.setAlphaF(badgeOpacity);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(capsule, fill);
    painter.setPen(colour);
    painter.drawText(area, Qt::AlignCenter, text);
}

} // namespace

void LedgerCellDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    option->textElideMode = Qt::ElideRight;
    if (index.column() == static_cast<int>(LedgerColumn::runningBalance)) {
        option->font.setWeight(QFont::DemiBold);
    }
    useFixedWidthDigits(option->font);
    const auto colours = Colours::on(option->palette);
    if (const auto tone = toneOf(index); tone != Tone::normal) {
        option->palette.setColor(QPalette::Text, tone == Tone::red ? colours.red : colours.green);
    }
}

void LedgerCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    const auto badge = index.data(LedgerTableModel::badgeRole).toString();
    if (badge.isEmpty()) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem cell(option);
    initStyleOption(&cell, index);
    const auto* widget = option.widget;
    const auto* style = widget ? widget->style() : QApplication::style();

    const auto font = badgeFont(cell.font);
    const QFontMetrics metrics(font);
    const QSize size(metrics.horizontalAdvance(badge) + 2 * badgePaddingX,
                     metrics.height() + 2 * badgePaddingY);

    // The description gives way, so that the badge is always there.
    const auto description = cell.text;
    const auto margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, widget) + 1;
    const auto textArea = style->subElementRect(QStyle::SE_ItemViewItemText, &cell, widget);
    const auto room = std::max(0, textArea.width() - 2 * margin - size.width() - badgeGap);
    cell.text = cell.fontMetrics.elidedText(description, Qt::ElideRight, room);
    style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, widget);

    const bool leftToRight = cell.direction == Qt::LeftToRight;
    const auto taken = margin + cell.fontMetrics.horizontalAdvance(cell.text) + badgeGap;
    const auto left = leftToRight ? textArea.left() + taken : textArea.right() - taken - size.width();
    const auto top = option.rect.top() + (option.rect.height() - size.height() + 1) / 2;
    const QRect area(QPoint(left, top), size);
    const auto colours = Colours::on(option.palette);
    const bool isSelected = (option.state & QStyle::State_Selected) != 0;
    const auto colour = isSelected                   ? option.palette.color(QPalette::HighlightedText)
                        : toneOf(index) == Tone::red ? colours.red
                                                     : colours.orange;
    painter->save();
    painter->setFont(font);
    paintBadge(*painter, area, badge, colour);
    painter->restore();
}

} // namespace quillo
