#include "ui/Symbols.h"

#include "platform/tray/IconFolder.h"

#include <QImageReader>
#include <QPainter>

namespace quillo {

namespace {
constexpr double disabledOpacity = 0.4;
} // namespace

QPixmap symbolPixmap(const QString& name, int size, const QColor& colour, qreal devicePixelRatio) {
    // Qt's SVG plug-in is loaded with the first window, not at start.
    QImageReader reader(QStringLiteral(":/icons/hicolor/symbolic/apps/") + symbolIconName(name) +
                        QStringLiteral(".svg"));
    const auto pixels = static_cast<int>(std::ceil(size * devicePixelRatio));
    reader.setScaledSize({pixels, pixels});
    auto image = reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) {
        return {};
    }
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    painter.end();
    auto pixmap = QPixmap::fromImage(std::move(image));
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

QIcon symbolIcon(const QString& name, int size, const QColor& colour, qreal devicePixelRatio) {
    QIcon icon(symbolPixmap(name, size, colour, devicePixelRatio));
    auto dimmed = colour;
    dimmed.setAlphaF(static_cast<float>(disabledOpacity));
    icon.addPixmap(symbolPixmap(name, size, dimmed, devicePixelRatio), QIcon::Disabled);
    return icon;
}

} // namespace quillo
