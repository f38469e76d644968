#pragma once

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <chrono>

namespace quillo::test {

/// A program that a test runs beside itself. It is killed with this object, and by the kernel when the test
/// itself dies.
class ChildProcess {
public:
    /// Starts the program with its standard error passed through; the test fails hard when it cannot start.
    ChildProcess(const QString& program, const QStringList& arguments,
                 const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment());
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    [[nodiscard]] qint64 processId() const { return process.processId(); }
    [[nodiscard]] bool isRunning() const { return process.state() == QProcess::Running; }

    /// The next line of its standard output, without its end; the test fails hard when none comes in time.
    [[nodiscard]] QByteArray readLine(std::chrono::milliseconds limit = std::chrono::seconds(20));

    /// Everything it wrote that was not read yet.
    [[nodiscard]] QByteArray readAll() { return process.readAllStandardOutput(); }

    void write(const QByteArray& input) { process.write(input); }

    /// Its standard input ends once what was written has been taken.
    void closeInput() { process.closeWriteChannel(); }

    /// Runs the event loop until it has ended by itself; its exit status, or -1 when it was killed or did not
    /// end within `limit`.
    [[nodiscard]] int waitForExit(std::chrono::milliseconds limit = std::chrono::seconds(20));

    /// Sends SIGKILL and waits until it is gone.
    void kill();

private:
    QProcess process;
};

} // namespace quillo::test
