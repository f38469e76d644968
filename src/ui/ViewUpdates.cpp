#include "ui/ViewUpdates.h"

#include "store/AppStore.h"

#include <QMetaObject>

#include <utility>

namespace quillo {

ViewUpdates::ViewUpdates(AppStore& shownStore, Render draw, QObject* parent)
    : QObject(parent),
      store(shownStore),
      render(std::move(draw)),
      storeChanges(store.objectWillChange.observe([this] { schedule(); })),
      settingsChanges(store.settings.objectWillChange.observe([this] { schedule(); })) {
    render(store.state());
}

void ViewUpdates::schedule() {
    if (std::exchange(isScheduled, true)) {
        return;
    }
    QMetaObject::invokeMethod(
        this,
        [this] {
            isScheduled = false;
            render(store.state());
        },
        Qt::QueuedConnection);
}

} // namespace quillo
