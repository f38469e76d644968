#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace quillo {

/// Turns SIGTERM, SIGINT and SIGHUP, by which sessions and service managers end programs, into a call from
/// the event loop. One instance at a time; programs that are started by this one do not inherit it.
class TerminationSignals {
public:
    explicit TerminationSignals(std::function<void()> onSignal);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals();

private:
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace quillo
