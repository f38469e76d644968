#pragma once

#include <QPointer>
#include <QSize>

class QWidget;

namespace quillo {

/// The ledger's window, of which there is never more than one. Closing it frees what it holds and ends
/// nothing; opened again, it has the size it was left with.
class LedgerWindow {
public:
    static constexpr QSize leastContentSize{720, 480};
    static constexpr QSize firstSize{960, 640};

    LedgerWindow() = default;
    LedgerWindow(const LedgerWindow&) = delete;
    LedgerWindow& operator=(const LedgerWindow&) = delete;
    ~LedgerWindow();

    /// Opens the window or, when it is open, brings it to the front of whatever covers it.
    void open();

    /// The window while it is open, else null.
    [[nodiscard]] QWidget* window() const;

private:
    class Frame;

    void didClose();

    QPointer<Frame> frame;
    QSize size = firstSize;
    bool isMaximized = false;
};

} // namespace quillo
