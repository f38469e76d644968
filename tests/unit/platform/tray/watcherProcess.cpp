// A panel of its own process: copied under a panel's name, it is that panel to whoever asks who owns the
// watcher's name. Says "ready" when it does, and for every item its name. Ends with its standard input.

#include "ScriptedWatcher.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QTimer>

#include <cstdio>

using namespace quillo::test;

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    ScriptedWatcher watcher(QDBusConnection::sessionBus());
    watcher.start();
    std::puts("ready");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
