#include "platform/desktop/IdleMemory.h"

#include <malloc.h>

namespace quillo {

IdleMemory::IdleMemory(std::function<void()> giveBack) {
    timer.setSingleShot(true);
    timer.setInterval(rest);
    QObject::connect(&timer, &QTimer::timeout, &timer, std::move(giveBack));
}

void IdleMemory::trimHeap() {
    malloc_trim(0);
}

} // namespace quillo
