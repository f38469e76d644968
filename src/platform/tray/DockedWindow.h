#pragma once

#include "platform/tray/PaintedIcon.h"

#include <QPoint>
#include <QRasterWindow>
#include <QTimer>

#include <functional>

namespace quillo {

/// The window that a tray takes in: symbol and text in one row, as wide as they are; where the tray gives it
/// less room, what a square has room for.
class DockedWindow final : public QRasterWindow {
    Q_OBJECT
public:
    /// `clearToParent` fills the window with what is behind it, of which a picture is taken; without it the
    /// window is transparent, by an alpha channel.
    explicit DockedWindow(std::function<void()> clearToParent);

    /// Shows it and asks for the room that it takes.
    void setFace(const ItemFace& face, const PaintStyle& style);

Q_SIGNALS:
    void pressed();

    /// The pointer has rested on the window for a while, at that place of the screen.
    void pointerRested(const QPoint& position);

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool nativeEvent(const QByteArray& eventType, void* message, qintptr* result) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void paintBackground(QPainter& painter);

    std::function<void()> clearToParent;
    QPixmap behind;
    ItemFace face;
    PaintStyle style;
    QTimer rest;
};

} // namespace quillo
