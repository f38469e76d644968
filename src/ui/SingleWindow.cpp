#include "ui/SingleWindow.h"

#include "platform/desktop/ActivationToken.h"
#include "platform/desktop/X11.h"
#include "platform/symbols/Symbols.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QLayout>
#include <QMainWindow>
#include <QPixmapCache>

#include <malloc.h>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Asks the window manager the way a pager does, in the user's name. Some grant nothing less to a program in
/// the background (Extended Window Manager Hints, "_NET_ACTIVE_WINDOW").
void activateAsPager(xcb_connection_t* connection, WId window) {
    constexpr std::uint32_t sourceIsPager = 2;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window);
    message.type = x11::atom(connection, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = sourceIsPager;
    message.data.data32[1] = XCB_CURRENT_TIME;
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_send_event(connection, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}

/// Shows the window, not minimised, in front of every other program's windows and with the focus, as far as
/// the desktop lets a program do that: on Wayland it takes the activation token that came with the user's
/// request (see `ActivationToken`).
void bringToFront(QWidget& window) {
    const auto token = ActivationToken::take();
    if (!token.isEmpty() && QGuiApplication::platformName().startsWith(u"wayland")) {
        // Where Qt's Wayland plugin looks for it when it activates a window.
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    }
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 && x11->connection()) {
        activateAsPager(x11->connection(), window.winId());
    }
}

} // namespace

WindowScene ledgerScene(std::function<QWidget*()> makeContent) {
    static constexpr QSize leastContentSize(720, 480);
    static constexpr QSize firstSize(960, 640);
    return {.title = u"Quillo — Ledger"_s,
            .identifier = u"ledger"_s,
            .firstSize = firstSize,
            .makeContent = [makeContent = std::move(makeContent)] {
                auto* content = makeContent();
                content->setMinimumSize(leastContentSize);
                return content;
            }};
}

WindowScene settingsScene(std::function<QWidget*()> makeContent) {
    return {.title = u"Quillo Settings"_s,
            .identifier = u"settings"_s,
            .firstSize = {},
            .makeContent = std::move(makeContent)};
}

class SingleWindow::Frame final : public QMainWindow {
public:
    Frame(SingleWindow& singleWindow, const WindowScene& scene) : owner(singleWindow) {
        setAttribute(Qt::WA_DeleteOnClose);
        setObjectName(scene.identifier);
        setWindowTitle(scene.title);
        setWindowIcon(applicationIcon());
        if (scene.prepare) {
            scene.prepare(*this);
        }
        setCentralWidget(scene.makeContent());
        if (scene.firstSize.isEmpty()) {
            layout()->setSizeConstraint(QLayout::SetFixedSize);
        }
    }

    ~Frame() override {
        delete takeCentralWidget();
        // What the window showed may have been large, and pictures that its style keeps serve nobody now.
        QPixmapCache::clear();
        malloc_trim(0);
    }

protected:
    void closeEvent(QCloseEvent* event) override {
        QMainWindow::closeEvent(event);
        if (event->isAccepted()) {
            owner.didClose();
        }
    }

private:
    SingleWindow& owner;
};

SingleWindow::SingleWindow(WindowScene windowScene) : scene(std::move(windowScene)) {}

SingleWindow::~SingleWindow() {
    delete frame;
}

void SingleWindow::open() {
    if (!frame) {
        frame = new Frame(*this, scene);
        if (!size.isEmpty()) {
            frame->resize(size);
        } else if (scene.firstSize.isEmpty()) {
            frame->adjustSize();
        } else {
            const auto* menuBar = frame->menuWidget();
            frame->resize(scene.firstSize + QSize(0, menuBar ? menuBar->sizeHint().height() : 0));
        }
        if (isMaximized) {
            frame->setWindowState(Qt::WindowMaximized);
        }
    }
    bringToFront(*frame);
}

QWidget* SingleWindow::window() const {
    return frame;
}

void SingleWindow::didClose() {
    isMaximized = frame->isMaximized();
    size = isMaximized ? frame->normalGeometry().size() : frame->size();
    // It deletes itself on a later turn; until then it must not be opened again.
    frame.clear();
}

} // namespace quillo
