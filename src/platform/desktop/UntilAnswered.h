#pragma once

#include "core/Awaiters.h"

#include <QDBusPendingCallWatcher>

namespace quillo {

/// Waits for the answer to a call on the bus, be it an error. Dropping it forgets the answer.
class UntilAnswered : public OneShotEvent {
public:
    explicit UntilAnswered(const QDBusPendingCall& call) : watcher(call) {
        QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &context(), [this] { fire(); });
    }

private:
    QDBusPendingCallWatcher watcher;
};

} // namespace quillo
