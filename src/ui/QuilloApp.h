#pragma once

#include <memory>

namespace quillo {

class SingleInstance;

/// The application's root: owns the store for the life of the process, makes sure the program starts at
/// login, and declares what the user can see of it. Only the status item is visible at first.
class QuilloApp {
public:
    /// Needs a `QApplication`. What others ask of the instance is answered from now on.
    explicit QuilloApp(SingleInstance& instance);
    QuilloApp(const QuilloApp&) = delete;
    QuilloApp& operator=(const QuilloApp&) = delete;
    ~QuilloApp();

private:
    struct Parts;

    std::unique_ptr<Parts> parts;
};

} // namespace quillo
