#include "platform/desktop/NotificationCenter.h"

#include <utility>

namespace quillo {

void NotificationCenter::post(QStringView name) {
    // A copy, because an observer may observe a new name, which moves the signals about in the table.
    const auto signal = channels.value(name.toString());
    signal.emit();
}

Observation NotificationCenter::observe(QStringView name, Callback callback) {
    return channels[name.toString()].observe(std::move(callback));
}

} // namespace quillo
