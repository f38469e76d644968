#include "ui/LedgerWindow.h"

#include "ui/WindowActivation.h"

#include <QCloseEvent>
#include <QMainWindow>

namespace quillo {

class LedgerWindow::Frame final : public QMainWindow {
public:
    explicit Frame(LedgerWindow& ledgerWindow) : owner(ledgerWindow) {
        setAttribute(Qt::WA_DeleteOnClose);
        setObjectName(QStringLiteral("ledger"));
        setWindowTitle(QStringLiteral("Quillo — Ledger"));
        auto* content = new QWidget(this);
        content->setMinimumSize(leastContentSize);
        setCentralWidget(content);
    }

protected:
    void closeEvent(QCloseEvent* event) override {
        QMainWindow::closeEvent(event);
        if (event->isAccepted()) {
            owner.didClose();
        }
    }

private:
    LedgerWindow& owner;
};

LedgerWindow::~LedgerWindow() {
    delete frame;
}

void LedgerWindow::open() {
    if (!frame) {
        frame = new Frame(*this);
        frame->resize(size);
        if (isMaximized) {
            frame->setWindowState(Qt::WindowMaximized);
        }
    }
    bringToFront(*frame);
}

QWidget* LedgerWindow::window() const {
    return frame;
}

void LedgerWindow::didClose() {
    isMaximized = frame->isMaximized();
    size = isMaximized ? frame->normalGeometry().size() : frame->size();
    // It deletes itself on a later turn; until then it must not be opened again.
    frame.clear();
}

} // namespace quillo
