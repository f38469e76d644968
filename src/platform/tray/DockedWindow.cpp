#include "platform/tray/DockedWindow.h"

#include <QCursor>
#include <QPainter>
#include <QScreen>

#include <algorithm>
#include <chrono>

#include <xcb/xcb.h>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

namespace {
constexpr std::chrono::milliseconds restTime{700}; // as long as toolkits wait before a tool tip
constexpr int largestSide = 4096;                  // no panel has room for more, and painting takes long
} // namespace

DockedWindow::DockedWindow(std::function<void()> clear) : clearToParent(std::move(clear)) {
    setTitle(u"Quillo"_s);
    setFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    if (!clearToParent) {
        constexpr int bits = 8;
        auto wanted = format();
        wanted.setAlphaBufferSize(bits);
        setFormat(wanted);
    }
    rest.setSingleShot(true);
    rest.setInterval(restTime);
    connect(&rest, &QTimer::timeout, this, [this] { Q_EMIT pointerRested(QCursor::pos()); });
}

void DockedWindow::setFace(const ItemFace& nextFace, const PaintStyle& nextStyle) {
    if (nextFace == face && nextStyle == style) {
        return;
    }
    face = nextFace;
    style = nextStyle;
    const auto natural = wideSize(face, style.font);
    if (natural != baseSize()) {
        // Trays go by the one hint or the other, or by the window's size.
        setBaseSize(natural);
        setMinimumSize(natural);
        resize(natural);
    }
    update();
}

bool DockedWindow::event(QEvent* event) {
    switch (event->type()) {
    case QEvent::Enter:
        rest.start();
        break;
    case QEvent::Leave:
        rest.stop();
        break;
    case QEvent::UpdateRequest:
    case QEvent::Paint:
        if (std::max(width(), height()) > largestSide) {
            return true;
        }
        break;
    default:
        break;
    }
    return QRasterWindow::event(event);
}

void DockedWindow::mousePressEvent(QMouseEvent*) {
    rest.stop();
    Q_EMIT pressed();
}

// Qt tells nothing of a tray that answers a wish for another size by the old one, yet has painted for the
// wish already. On a later turn: Qt itself takes the size up only after this.
bool DockedWindow::nativeEvent(const QByteArray&, void* message, qintptr*) {
    constexpr int sentByClient = 0x80;
    if ((static_cast<const xcb_generic_event_t*>(message)->response_type & ~sentByClient) ==
        XCB_CONFIGURE_NOTIFY) {
        const auto repaint = [this] {
            behind = {};
            update();
        };
        QMetaObject::invokeMethod(this, repaint, Qt::QueuedConnection);
    }
    return false;
}

void DockedWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBackground(painter);
    const QRectF area({0, 0}, size());
    const auto natural = wideSize(face, style.font);
    // Trays of smaller icons make the window smaller in its own shape.
    const qreal scale = std::min(1.0, area.height() / natural.height());
    if (natural.width() * scale > area.width() + 1) {
        paintSquare(painter, area, face, style);
        return;
    }
    painter.scale(scale, scale);
    paintWide(painter, QRectF({0, 0}, area.size() / scale), face, style);
}

void DockedWindow::paintBackground(QPainter& painter) {
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (!clearToParent) {
        painter.fillRect(QRect({0, 0}, size()), Qt::transparent);
    } else {
        if (behind.isNull()) {
            clearToParent();
            behind = screen()->grabWindow(winId());
        }
        painter.drawPixmap(0, 0, behind);
    }
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

} // namespace quillo
