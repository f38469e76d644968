#pragma once

#include "core/Clock.h"
#include "core/Signal.h"

#include <QDBusConnection>

#include <memory>

namespace quillo {

class AppStore;
class NotificationCenter;
class Workspace;

/// The application's root: owns the store for the life of the process, makes sure the program starts at
/// login, and declares what the user can see of it. Only the status item is visible at first.
class QuilloApp {
public:
    /// Needs a `QApplication`.
    QuilloApp();
    QuilloApp(const QuilloApp&) = delete;
    QuilloApp& operator=(const QuilloApp&) = delete;
    ~QuilloApp();

private:
    struct Parts;

    void openLedger();
    void openSettings();

    std::unique_ptr<Parts> parts;
};

} // namespace quillo
