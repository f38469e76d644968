#pragma once

namespace quillo {

class AppStore;

/// How the store reaches the views: provided once, for as long as this lives, and read by each view where it
/// is made.
class Environment {
public:
    explicit Environment(AppStore& store);
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment();

    /// Stops the process when there is no store: a view made without one is a fault of the program.
    [[nodiscard]] static AppStore& store();
};

} // namespace quillo
