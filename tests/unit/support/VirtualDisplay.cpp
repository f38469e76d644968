#include "support/VirtualDisplay.h"

using namespace Qt::Literals::StringLiterals;

namespace quillo::test {

VirtualDisplay::VirtualDisplay()
    : server(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-nolisten"_s, u"tcp"_s, u"-noreset"_s, u"-screen"_s,
                         u"0"_s, u"800x600x24"_s}),
      displayName(u":"_s + QString::fromLatin1(server.readLine())) {}

QProcessEnvironment VirtualDisplay::environment() const {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_s, displayName);
    environment.remove(u"WAYLAND_DISPLAY"_s);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    return environment;
}

void VirtualDisplay::run(const QString& program, const QStringList& arguments) const {
    ChildProcess process(program, arguments, environment());
    if (const int status = process.waitForExit(); status != 0) {
        qFatal("%s ends with %d", qPrintable(program), status);
    }
}

} // namespace quillo::test
