#pragma once

#include <QProxyStyle>

namespace quillo {

/// The desktop's style with more room beside the texts of a table and its header, so that they stand
/// below the texts of the window's header.
class LedgerTableStyle final : public QProxyStyle {
public:
    /// From a column's edge to its text, in device-independent pixels.
    static constexpr int textInset = 12;

    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption* option,
                                  const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    [[nodiscard]] QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                         const QWidget* widget) const override;
};

} // namespace quillo
