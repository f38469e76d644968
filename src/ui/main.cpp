#include "BuildConfiguration.h"
#include "platform/desktop/ActivationToken.h"
#include "platform/desktop/LaunchFeedback.h"
#include "platform/desktop/SessionRestart.h"
#include "platform/desktop/SingleInstance.h"
#include "ui/CommandLine.h"
#include "ui/QuilloApp.h"

#include <QApplication>
#include <QRegularExpression>

#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <sys/resource.h>

namespace {

int print(const quillo::CommandLineAnswer& answer) {
    std::fputs(answer.output.c_str(), stdout);
    std::fputs(answer.error.c_str(), stderr);
    return std::fflush(stdout) == 0 ? answer.status : EXIT_FAILURE;
}

enum ExitStatus { noDisplay = 3, nameTaken = 4 };

/// Qt has much to say where there is no display, and then aborts.
void endWithoutDisplay(QtMsgType type, const QMessageLogContext&, const QString&) {
    if (type == QtFatalMsg) {
        std::fputs("quillo: no display can be reached\n", stderr);
        std::_Exit(noDisplay);
    }
}

/// What libraries report. Addresses go without their queries, which may hold what completes a sign-in, and
/// without what follows them in the line: a query that is shown to people may hold blanks and quotes.
void reportWithoutQueries(QtMsgType, const QMessageLogContext&, const QString& message) {
    const QRegularExpression query(QStringLiteral("(\\w://[^\\s?]*)\\?.*"));
    std::fprintf(stderr, "%s\n", qPrintable(QString(message).replace(query, QStringLiteral("\\1"))));
}

/// A picture of the memory would hold keys and tokens. What this program starts may raise the limit again.
void leaveNoCoreDump() {
    rlimit limit{};
    getrlimit(RLIMIT_CORE, &limit);
    limit.rlim_cur = 0;
    setrlimit(RLIMIT_CORE, &limit);
}

} // namespace

int main(int argc, char* argv[]) {
    if (const auto answer = quillo::answerCommandLine({argv, static_cast<std::size_t>(argc)})) {
        return print(*answer);
    }
    leaveNoCoreDump();
    // Reading an answer takes blocks several times its size for a moment. From this size on blocks are mapped
    // on their own and go back whole; unless told, the allocator learns from the first to keep the next.
    constexpr int mappedFrom = 128 * 1024;
    mallopt(M_MMAP_THRESHOLD, mappedFrom);
    // The few threads beside this one seldom run at the same time. One heap between them serves all; each of
    // their own would stay around half empty.
    mallopt(M_ARENA_MAX, 1);

    const auto launchToken = quillo::ActivationToken::ofLaunch();
    qInstallMessageHandler(endWithoutDisplay);
    QApplication application(argc, argv);
    qInstallMessageHandler(reportWithoutQueries);
    QApplication::setApplicationName(QStringLiteral("quillo"));
    QApplication::setApplicationDisplayName(QString());
    QApplication::setApplicationVersion(quillo::build::version);
    QApplication::setDesktopFileName(quillo::build::applicationId);
    // The status item stays when windows close.
    QApplication::setQuitOnLastWindowClosed(false);
    quillo::declineSessionRestart(application);
    quillo::SingleInstance instance(QDBusConnection::sessionBus(), quillo::build::applicationId);
    const auto claim = instance.claim(launchToken);
    if (QGuiApplication::platformName() == QLatin1StringView("xcb")) {
        quillo::endLaunchFeedback(launchToken);
    }
    if (claim == quillo::SingleInstance::Claim::second) {
        return 0;
    }
    if (claim == quillo::SingleInstance::Claim::taken) {
        std::fprintf(stderr, "quillo: another program owns %s on the session bus\n",
                     quillo::build::applicationId.data());
        return nameTaken;
    }
    const quillo::QuilloApp quillo(instance);
    return QApplication::exec();
}
