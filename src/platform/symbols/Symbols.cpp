#include "platform/symbols/Symbols.h"

#include "platform/symbols/IconFolder.h"

#include <QFile>
#include <QImageReader>
#include <QPainter>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

namespace {
constexpr double disabledOpacity = 0.4;

/// Symbols that panels show, too, are among the program's icons; the others are the windows' own.
QString fileOf(const QString& name) {
    const auto shared = carriedIcon(name);
    return QFile::exists(shared) ? shared : u":/symbols/%1.svg"_s.arg(symbolIconName(name));
}

} // namespace

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

QPixmap symbolPixmap(const QString& name, int size, const QColor& colour, qreal devicePixelRatio) {
    const auto pixels = static_cast<int>(std::ceil(size * devicePixelRatio));
    auto image = symbolImage(fileOf(name), pixels, colour);
    if (image.isNull()) {
        return {};
    }
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

QIcon applicationIcon() {
    return QIcon(QStringLiteral(":/icons/hicolor/scalable/apps/app.quillo.Quillo.svg"));
}

} // namespace quillo
