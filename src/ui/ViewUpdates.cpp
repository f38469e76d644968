#include "ui/ViewUpdates.h"

#include "store/AppStore.h"

#include <QMetaObject>

namespace quillo {

ViewUpdates::ViewUpdates(AppStore& store, std::function<void()> draw)
    : render(std::move(draw)),
      storeChanges(store.objectWillChange.observe([this] { schedule(); })),
      settingsChanges(store.settings.objectWillChange.observe([this] { schedule(); })) {}

void ViewUpdates::schedule() {
    if (std::exchange(isScheduled, true)) {
        return;
    }
    QMetaObject::invokeMethod(
        &context,
        [this] {
            isScheduled = false;
            render();
        },
        Qt::QueuedConnection);
}

} // namespace quillo
