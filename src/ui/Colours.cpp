#include "ui/Colours.h"

namespace quillo {

namespace {

/// `share` of the text colour over the background.
QColor mixed(const QColor& text, const QColor& background, double share) {
    const auto mix = [share](int over, int under) {
        return static_cast<int>(over * share + under * (1 - share));
    };
    return {mix(text.red(), background.red()), mix(text.green(), background.green()),
            mix(text.blue(), background.blue())};
}

} // namespace

Colours Colours::on(const QPalette& palette) {
    const auto background = palette.color(QPalette::Window);
    const auto text = palette.color(QPalette::WindowText);
    const bool isDark = background.lightness() < 128;
    return {
        .red = isDark ? QColor(0xff7b72) : QColor(0xb3261e),
        .orange = isDark ? QColor(0xffa657) : QColor(0x9a4a00),
        .green = isDark ? QColor(0x56d364) : QColor(0x17692e),
        .secondary = mixed(text, background, 0.8),
        .tertiary = mixed(text, background, 0.7),
        .prompt = mixed(palette.color(QPalette::Text), palette.color(QPalette::Base), 0.75),
    };
}

} // namespace quillo
