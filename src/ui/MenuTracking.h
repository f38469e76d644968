#pragma once

#include <QObject>

namespace quillo {

class NotificationCenter;

/// Posts `notification::menuDidBeginTracking` whenever one of the program's own menus opens: of a menu bar,
/// of the status item, of a table, the list of a picker. A submenu belongs to the menu that it opens from.
class MenuTracking final : public QObject {
    Q_OBJECT
public:
    /// Watches the whole application for as long as it lives.
    explicit MenuTracking(NotificationCenter& notifications);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    NotificationCenter& notifications;
};

} // namespace quillo
