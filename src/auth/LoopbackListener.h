#pragma once

#include "auth/LoopbackCallback.h"
#include "core/Task.h"

#include <QFuture>

#include <memory>

namespace quillo {

/// Catches the redirect of one sign-in on the loopback interface (RFC 8252, section 7.3), on a thread of its
/// own.
///
/// It serves the first connection that says something and holds silent ones, which browsers open on
/// speculation, without taking them for the redirect. A request is what has come by the end of its first
/// line, by 16,384 bytes, by the end of the connection, or two seconds after its first byte. The first
/// request decides; then the port is free again, and connections accepted before are still answered but
/// change nothing.
class LoopbackListener {
public:
    /// Listens on 127.0.0.1 only; null when the port is taken.
    [[nodiscard]] static std::unique_ptr<LoopbackListener> open(quint16 port);

    LoopbackListener(const LoopbackListener&) = delete;
    LoopbackListener& operator=(const LoopbackListener&) = delete;

    /// Frees the port and closes every connection at once. Whoever waits for the callback is not told.
    ~LoopbackListener();

    /// The redirect, which may never come: there is no time limit. Throws AuthError `badCallback` when the
    /// first request is no proper redirect, LocalizedError when the listener fails. To be awaited once.
    [[nodiscard]] Task<LoopbackCallback> waitForCallback();

private:
    class Server;
    class Thread;

    explicit LoopbackListener(std::unique_ptr<Thread> running);

    std::unique_ptr<Thread> thread;
};

} // namespace quillo
