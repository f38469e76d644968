#include "platform/BuildConfiguration.h"
#include "ui/QuilloApp.h"

#include <QApplication>

#include <malloc.h>

int main(int argc, char* argv[]) {
    // Reading an answer takes blocks several times its size for a moment. From this size on blocks are mapped
    // on their own and go back whole; unless told, the allocator learns from the first to keep the next.
    constexpr int mappedFrom = 128 * 1024;
    mallopt(M_MMAP_THRESHOLD, mappedFrom);

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("quillo"));
    QApplication::setApplicationDisplayName(QString());
    QApplication::setApplicationVersion(quillo::build::version);
    QApplication::setDesktopFileName(quillo::build::applicationId);
    // The status item stays when windows close.
    QApplication::setQuitOnLastWindowClosed(false);
    const quillo::QuilloApp quillo;
    return QApplication::exec();
}
