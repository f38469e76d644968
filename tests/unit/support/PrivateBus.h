#pragma once

#include "support/ChildProcess.h"

#include <QDBusConnection>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <memory>

namespace quillo::test {

/// A message bus of the test's own, run by a real dbus-daemon. It starts no services, so a test never meets
/// what happens to be installed on the machine.
class PrivateBus {
public:
    PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus();

    [[nodiscard]] const QString& address() const noexcept { return busAddress; }

    /// A new connection, independent of every other one, closed with the bus.
    [[nodiscard]] QDBusConnection connect();

    /// The test's environment with this bus as session and system bus, for programs that the test starts.
    [[nodiscard]] QProcessEnvironment environment() const;

    /// Kills the daemon, as when a session ends under its programs.
    void kill();

private:
    QTemporaryDir folder;
    std::unique_ptr<ChildProcess> daemon;
    QString busAddress;
    QStringList connectionNames;
};

} // namespace quillo::test
