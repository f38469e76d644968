#include "platform/desktop/TerminationSignals.h"

#include <array>
#include <csignal>

#include <sys/eventfd.h>
#include <unistd.h>

namespace quillo {

namespace {

constexpr std::array signals{SIGTERM, SIGINT, SIGHUP};

/// Signal handlers may do little more than write(2) (signal-safety(7)); the event loop reads it.
int arrived = -1;

extern "C" void passOn(int) {
    const eventfd_t one = 1;
    [[maybe_unused]] const auto written = write(arrived, &one, sizeof one);
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> onSignal) {
    arrived = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (arrived < 0) {
        return; // the signals keep their default, which ends the program
    }
    notifier = std::make_unique<QSocketNotifier>(arrived, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [onSignal = std::move(onSignal)] {
                         eventfd_t count = 0;
                         eventfd_read(arrived, &count);
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
    if (arrived >= 0) {
        close(std::exchange(arrived, -1));
    }
}

} // namespace quillo
