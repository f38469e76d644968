#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QWidget>

#include <algorithm>

namespace quillo::test {

/// What is written in a widget and can be seen, from top to bottom and from left to right.
[[nodiscard]] inline QStringList visibleTexts(const QWidget& widget) {
    QList<const QWidget*> texts;
    for (const auto* label : widget.findChildren<QLabel*>()) {
        if (label->isVisible() && !label->text().isEmpty()) {
            texts += label;
        }
    }
    std::ranges::sort(texts, [&widget](const QWidget* left, const QWidget* right) {
        const auto leftBottom = left->mapTo(&widget, QPoint(0, left->height())).y();
        const auto rightBottom = right->mapTo(&widget, QPoint(0, right->height())).y();
        // Texts of one row stand on one line, whatever their size.
        const bool isSameRow = left->parentWidget() == right->parentWidget() &&
                               left->geometry().top() < right->geometry().bottom() &&
                               right->geometry().top() < left->geometry().bottom();
        return isSameRow ? left->x() < right->x() : leftBottom < rightBottom;
    });
    QStringList all;
    for (const auto* label : texts) {
        all += static_cast<const QLabel*>(label)->text();
    }
    return all;
}

/// The button with this title that can be seen; null when there is none.
[[nodiscard]] inline QAbstractButton* visibleButton(const QWidget& widget, const QString& title) {
    for (auto* button : widget.findChildren<QAbstractButton*>()) {
        if (button->isVisible() && button->text() == title) {
            return button;
        }
    }
    return nullptr;
}

} // namespace quillo::test
