#include "platform/desktop/TerminationSignals.h"

#include <array>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace quillo {

namespace {

constexpr std::array signals{SIGTERM, SIGINT, SIGHUP};

/// Signal handlers may do little more than write(2) (signal-safety(7)); the event loop reads the other end.
std::array<int, 2> pipeEnds{-1, -1};

extern "C" void passOn(int) {
    const char byte = 0;
    [[maybe_unused]] const auto written = write(pipeEnds[1], &byte, 1);
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> onSignal) {
    if (pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // the signals keep their default, which ends the program
    }
    notifier = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [onSignal = std::move(onSignal)] {
                         char byte = 0;
                         while (read(pipeEnds[0], &byte, 1) > 0) {
                         }
                         onSignal();
                     });
    struct sigaction action {};
    action.sa_handler = passOn;
    action.sa_flags = SA_RESTART;
    for (const auto signal : signals) {
        sigaction(signal, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals() {
    for (const auto signal : signals) {
        std::signal(signal, SIG_DFL);
    }
    notifier.reset();
    for (auto& end : pipeEnds) {
        if (end >= 0) {
            close(std::exchange(end, -1));
        }
    }
}

} // namespace quillo
