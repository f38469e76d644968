#include "ui/Symbols.h"

#include "platform/tray/IconFolder.h"

#include <QFile>
#include <QImageReader>
#include <QPainter>

namespace quillo {

namespace {
constexpr double disabledOpacity = 0.4;

/// Symbols that panels show, too, are among the program's icons; the others are the windows' own.
QString fileOf(const QString& name) {
    const auto file = symbolIconName(name) + QStringLiteral(".svg");
    const auto shared = QStringLiteral(":/icons/hicolor/symbolic/apps/") + file;
    return QFile::exists(shared) ? shared : QStringLiteral(":/symbols/") + file;
}

} // namespace

QPixmap symbolPixmap(const QString& name, int size, const QColor& colour, qreal devicePixelRatio) {
    // Qt's SVG plug-in is loaded with the first window, not at start.
    QImageReader reader(fileOf(name));
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
