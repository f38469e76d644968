#pragma once

#include <QObject>

namespace quillo {

class NotificationCenter;

/// Posts `applicationDidBecomeActive` whenever the application becomes active. Needs a `QGuiApplication`.
class ApplicationActivity {
public:
    explicit ApplicationActivity(NotificationCenter& center);

private:
    QObject context;
};

} // namespace quillo
