#include "support/ChildProcess.h"

#include "support/Wait.h"

#include <csignal>
#include <sys/prctl.h>

namespace quillo::test {

ChildProcess::ChildProcess(const QString& program, const QStringList& arguments,
                           const QProcessEnvironment& environment) {
    process.setProgram(program);
    process.setArguments(arguments);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    process.start();
    if (!process.waitForStarted()) {
        qFatal("%s does not start: %s", qPrintable(program), qPrintable(process.errorString()));
    }
}

ChildProcess::~ChildProcess() {
    kill();
}

QByteArray ChildProcess::readLine(std::chrono::milliseconds limit) {
    const bool arrived = waitUntil([this] { return process.canReadLine(); }, limit);
    if (!arrived) {
        qFatal("%s says nothing", qPrintable(process.program()));
    }
    return process.readLine().trimmed();
}

int ChildProcess::waitForExit(std::chrono::milliseconds limit) {
    const bool ended = waitUntil([this] { return process.state() == QProcess::NotRunning; }, limit);
    return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void ChildProcess::kill() {
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
    }
}

} // namespace quillo::test
