#pragma once

#include <QFrame>
#include <QString>

#include <functional>
#include <optional>

class QLabel;
class QPushButton;

namespace quillo {

/// One row on a tinted background: a symbol, a headline, a line under it, a button.
class LedgerBanner final : public QFrame {
    Q_OBJECT
public:
    enum class Tone { neutral, orange, red };

    /// What the row says. Texts are plain.
    struct Content {
        QString symbol;
        QString headline = {}; ///< in headline style; empty for a row with a subtitle only
        std::optional<QString> subtitle = {};
        QString buttonTitle = {}; ///< empty for no button
        Tone tone = Tone::neutral;

        [[nodiscard]] bool operator==(const Content&) const = default;
    };

    LedgerBanner(std::function<void()> onButton, QWidget* parent = nullptr);

    /// Shows the content, or nothing at all.
    void setContent(const std::optional<Content>& content);

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
    std::optional<Content> shown;
};

} // namespace quillo
