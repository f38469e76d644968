#include "support/ChildProcess.h"

#include "support/Wait.h"

#include <csignal>
#include <sys/prctl.h>

#ifdef __SANITIZE_THREAD__
#include <cstdarg>

#include <dlfcn.h>
#include <sched.h>

/// Qt starts a process as vfork does: until it runs its program, the child uses the parent's memory. The
/// thread sanitizer's own clone (of GCC 12) takes the child for a copy and switches itself off in it, and so
/// in the parent, whose locks it no longer sees from then on. This is the C library's, without the sanitizer.
extern "C" int clone(int (*run)(void*), void* stack, int flags, void* argument, ...) noexcept {
    static const auto systemClone =
        reinterpret_cast<decltype(&clone)>(::dlsym(::dlopen("libc.so.6", RTLD_LAZY | RTLD_NOLOAD), "clone"));
    va_list rest;
    va_start(rest, argument);
    auto* const parentId = va_arg(rest, pid_t*);
    auto* const storage = va_arg(rest, void*);
    auto* const childId = va_arg(rest, pid_t*);
    va_end(rest);
    return systemClone(run, stack, flags, argument, parentId, storage, childId);
}
#endif

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
