#pragma once

#include "core/Awaiters.h"

#include <QDBusPendingCallWatcher>

namespace quillo {

/// Waits for the answer to a call on the bus, be it an error. Dropping it forgets the answer.
class UntilAnswered {
public:
    explicit UntilAnswered(const QDBusPendingCall& call)
        : watcher(call), finished(&watcher, &QDBusPendingCallWatcher::finished) {}

    [[nodiscard]] bool await_ready() const noexcept { return finished.await_ready(); }
    void await_suspend(std::coroutine_handle<> coroutine) noexcept { finished.await_suspend(coroutine); }
    void await_resume() const noexcept {}

private:
    QDBusPendingCallWatcher watcher;
    UntilEmitted finished;
};

} // namespace quillo
