#pragma once

#include "support/ChildProcess.h"

#include <QProcessEnvironment>
#include <QString>

namespace quillo::test {

/// An X server of the test's own (Xvfb), with an American keyboard.
class VirtualDisplay {
public:
    VirtualDisplay();

    /// As in the variable DISPLAY.
    [[nodiscard]] const QString& name() const noexcept { return displayName; }

    /// The test's environment with this display as the only one, for programs that the test starts.
    [[nodiscard]] QProcessEnvironment environment() const;

    /// Runs a program on the display; the test fails hard when it does not end with 0.
    void run(const QString& program, const QStringList& arguments) const;

    /// Ends the server, as when a session ends under its programs.
    void kill() { server.kill(); }

private:
    ChildProcess server;
    QString displayName;
};

} // namespace quillo::test
