#include "platform/BuildConfiguration.h"
#include "ui/QuilloApp.h"

#include <QApplication>

int main(int argc, char* argv[]) {
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
