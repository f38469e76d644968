#pragma once

#include "core/Signal.h"
#include "store/AppState.h"

#include <QObject>

#include <functional>

namespace quillo {

class AppStore;

/// Has a view rendered when the store, its settings or the sign-in change: once, on the next turn of the
/// loop, however many changes were announced before it. So a view never reads inside an announcement, where
/// values are still old. Lives as long as its parent.
class ViewUpdates final : public QObject {
public:
    using Render = std::function<void(const AppState&)>;

    /// Renders at once for the first time.
    ViewUpdates(AppStore& store, Render render, QObject* parent = nullptr);

private:
    void schedule();

    AppStore& store;
    Render render;
    bool isScheduled = false;
    Observation storeChanges;
    Observation settingsChanges;
};

} // namespace quillo
