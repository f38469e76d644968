#pragma once

#include "core/Signal.h"

#include <QObject>

#include <functional>

namespace quillo {

class AppStore;

/// Has a view rendered when the store, its settings or the sign-in change: once, on the next turn of the
/// loop, however many changes were announced before it. So a view never reads inside an announcement, where
/// values are still old.
class ViewUpdates {
public:
    ViewUpdates(AppStore& store, std::function<void()> render);

private:
    void schedule();

    std::function<void()> render;
    bool isScheduled = false;
    QObject context;
    Observation storeChanges;
    Observation settingsChanges;
};

} // namespace quillo
