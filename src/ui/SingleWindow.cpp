#include "ui/SingleWindow.h"

#include "platform/symbols/Symbols.h"
#include "ui/WindowActivation.h"

#include <QCloseEvent>
#include <QLayout>
#include <QMainWindow>
#include <QPixmapCache>

#include <malloc.h>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

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
