#include "platform/symbols/SymbolImage.h"

#include <QImageReader>
#include <QPainter>

namespace quillo {

QImage symbolImage(const QString& file, int pixels, const QColor& colour) {
    // Qt's SVG plug-in is loaded with the first symbol that is painted, not at start.
    QImageReader reader(file);
    reader.setScaledSize({pixels, pixels});
    auto image = reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) {
        return {};
    }
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    return image;
}

} // namespace quillo
