#pragma once

#include <QTimer>

#include <chrono>
#include <functional>
#include <utility>

#include <malloc.h>

namespace quillo {

/// Gives memory that the allocator holds but nobody uses back to the system, once the program has come to
/// rest: an answer of the backend takes several times its size for a moment, and a program that is resident
/// all day should not keep that.
class IdleMemory {
public:
    /// How long nothing may have happened.
    static constexpr std::chrono::milliseconds rest{250};

    /// `giveBack` stands in for the allocator's own operation.
    explicit IdleMemory(std::function<void()> giveBack = [] { malloc_trim(0); }) {
        timer.setSingleShot(true);
        timer.setInterval(rest);
        QObject::connect(&timer, &QTimer::timeout, &timer, std::move(giveBack));
    }

    /// Something has been done that may have left memory behind. However often this is called, memory is
    /// given back once, when the calls have stopped for the time of `rest`. Until the next call no timer
    /// runs.
    void noteActivity() { timer.start(); }

private:
    QTimer timer;
};

} // namespace quillo
