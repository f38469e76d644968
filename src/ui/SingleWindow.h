#pragma once

#include <QPointer>
#include <QSize>
#include <QString>

#include <functional>

class QMainWindow;
class QWidget;

namespace quillo {

/// What a window is and shows.
struct WindowScene {
    QString title;
    QString identifier;
    QSize firstSize; ///< of the content; empty: always as it asks
    /// Makes the content, anew each time the window opens.
    std::function<QWidget*()> makeContent;
    /// Adds what belongs to the frame, such as a menu bar; may be empty.
    std::function<void(QMainWindow&)> prepare = {};
};

/// "Quillo — Ledger"; its content is at least 720 by 480.
[[nodiscard]] WindowScene ledgerScene(std::function<QWidget*()> makeContent);

/// The settings, as large as their form.
[[nodiscard]] WindowScene settingsScene(std::function<QWidget*()> makeContent);

/// A window of which there is never more than one. Closing it frees what it holds and ends nothing; opened
/// again, it has the size it was left with.
class SingleWindow {
public:
    explicit SingleWindow(WindowScene windowScene);
    SingleWindow(const SingleWindow&) = delete;
    SingleWindow& operator=(const SingleWindow&) = delete;
    ~SingleWindow();

    /// Opens the window or, when it is open, brings it to the front of whatever covers it.
    void open();

    /// The window while it is open, else null.
    [[nodiscard]] QWidget* window() const;

private:
    class Frame;

    void didClose();

    WindowScene scene;
    QPointer<Frame> frame;
    QSize size; ///< that it was left with; empty before
    bool isMaximized = false;
};

} // namespace quillo
