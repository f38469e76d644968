#include "platform/tray/DockedItem.h"

#include "platform/tray/DockedWindow.h"

namespace quillo {

DockedItem::DockedItem(std::chrono::milliseconds patience) {
    waiting.setSingleShot(true);
    waiting.setInterval(patience);
    connect(&waiting, &QTimer::timeout, this, [this] { letGo(State::refused); });
    connect(&tray, &XEmbedTray::changed, this, &DockedItem::onTrayChanged);
    connect(&tray, &XEmbedTray::foregroundChanged, this, &DockedItem::render);
    connect(&tray, &XEmbedTray::embedded, this, &DockedItem::onEmbedded);
    connect(&tray, &XEmbedTray::released, this, [this](quint32 released) {
        if (window && window->winId() == released) {
            letGo(State::refused);
        }
    });
}

DockedItem::~DockedItem() = default;

void DockedItem::setFace(const ItemFace& nextFace, const PaintStyle& nextStyle) {
    face = nextFace;
    style = nextStyle;
    render();
}

void DockedItem::render() {
    if (window) {
        auto shown = style;
        shown.colour = tray.foreground().value_or(style.colour);
        window->setFace(face, shown);
    }
}

void DockedItem::onTrayChanged() {
    letGo(State::noTray);
    if (tray.isThere()) {
        dock();
    }
}

void DockedItem::dock() {
    setState(State::docking);
    const bool showsThrough = tray.showsThrough();
    window = std::make_unique<DockedWindow>(
        showsThrough ? DockedWindow::Background::transparent : DockedWindow::Background::copied,
        [this] { tray.clearToParent(static_cast<xcb_window_t>(window->winId())); });
    connect(window.get(), &DockedWindow::pressed, this, &DockedItem::pressed);
    connect(window.get(), &DockedWindow::pointerRested, this, &DockedItem::pointerRested);
    render();
    window->create();
    tray.dock(static_cast<xcb_window_t>(window->winId()));
    waiting.start();
}

void DockedItem::onEmbedded(quint32 moved) {
    if (!window || window->winId() != moved) {
        return;
    }
    waiting.stop();
    // Not before it is in the tray: it would stand on the desktop as a window of its own.
    window->show();
    setState(State::docked);
}

void DockedItem::letGo(State next) {
    waiting.stop();
    if (window) {
        window.reset();
        tray.flush();
    }
    setState(next);
}

void DockedItem::setState(State next) {
    if (std::exchange(present, next) != next) {
        Q_EMIT stateChanged();
    }
}

} // namespace quillo
