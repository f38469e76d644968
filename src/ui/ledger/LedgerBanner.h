#pragma once

#include "ui/ledger/LedgerHeaderContent.h"

#include <QFrame>

#include <functional>
#include <optional>

class QLabel;
class QPushButton;

namespace quillo {

/// Shows a `BannerContent`.
class LedgerBanner final : public QFrame {
    Q_OBJECT
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

} // namespace quillo
