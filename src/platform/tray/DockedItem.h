#pragma once

#include "platform/tray/PaintedIcon.h"
#include "platform/tray/XEmbedTray.h"

#include <QObject>
#include <QPoint>
#include <QTimer>

#include <chrono>
#include <memory>

namespace quillo {

class DockedWindow;

/// The item as a window in the display's XEmbed tray, in every tray to come, until it is destroyed. Each tray
/// is asked once. No window exists, or can be seen, but in a tray. Only for programs that run on X11.
class DockedItem final : public QObject {
    Q_OBJECT
public:
    enum class State {
        noTray,
        docking, ///< a tray is asked
        docked,
        refused, ///< the present tray has not taken the window, or has let it go
    };

    /// A tray says nothing when it refuses: one that has not taken the window within `patience` has. One that
    /// is only slow, as at login, has time enough.
    explicit DockedItem(std::chrono::milliseconds patience = std::chrono::seconds(10));
    ~DockedItem() override;

    [[nodiscard]] State state() const noexcept { return present; }

    /// The tray's own colour, where it has one, goes before that of the style.
    void setFace(const ItemFace& face, const PaintStyle& style);

Q_SIGNALS:
    /// In state `docking` the window's face may still be set before the tray sees it.
    void stateChanged();

    void pressed();

    /// At that place of the screen.
    void pointerRested(const QPoint& position);

private:
    void onTrayChanged();
    void dock();
    void onEmbedded(quint32 moved);
    void letGo(State next);
    void setState(State next);
    void render();

    XEmbedTray tray;
    std::unique_ptr<DockedWindow> window;
    ItemFace face;
    PaintStyle style;
    State present = State::noTray;
    QTimer waiting;
};

} // namespace quillo
