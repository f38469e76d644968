#include "core/Awaiters.h"

#include <QMetaObject>

namespace quillo {

namespace {
thread_local int resumptionsUnderWay = 0;
} // namespace

bool isResuming() noexcept {
    return resumptionsUnderWay > 0;
}

void OneShotEvent::fire() {
    if (!std::exchange(fired, true)) {
        QMetaObject::invokeMethod(
            &receiver, [this] { arrive(); }, Qt::QueuedConnection);
    }
}

void OneShotEvent::arrive() {
    arrived = true;
    if (const auto coroutine = std::exchange(waiting, {})) {
        // The coroutine may destroy this event; nothing of it is touched after this line.
        ++resumptionsUnderWay;
        coroutine.resume();
        --resumptionsUnderWay;
    }
}

} // namespace quillo
