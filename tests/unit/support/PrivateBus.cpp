#include "support/PrivateBus.h"

#include <QFile>

using namespace Qt::Literals::StringLiterals;

namespace quillo::test {

namespace {

constexpr auto configuration =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)"_L1;

} // namespace

PrivateBus::PrivateBus() {
    const auto path = folder.filePath(u"bus.conf"_s);
    QFile file(path);
    if (!folder.isValid() || !file.open(QIODevice::WriteOnly)) {
        qFatal("no temporary folder for a bus");
    }
    file.write(QString(configuration).arg(folder.path()).toUtf8());
    file.close();
    daemon = std::make_unique<ChildProcess>(
        u"dbus-daemon"_s, QStringList{u"--config-file="_s + path, u"--nofork"_s, u"--print-address"_s});
    busAddress = QString::fromUtf8(daemon->readLine());
}

PrivateBus::~PrivateBus() {
    for (const auto& name : std::as_const(connectionNames)) {
        QDBusConnection::disconnectFromBus(name);
    }
}

QDBusConnection PrivateBus::connect() {
    static int count = 0;
    connectionNames.append(u"quillo-test-%1"_s.arg(++count));
    auto connection = QDBusConnection::connectToBus(busAddress, connectionNames.constLast());
    if (!connection.isConnected()) {
        qFatal("no connection to %s", qPrintable(busAddress));
    }
    return connection;
}

QProcessEnvironment PrivateBus::environment() const {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, busAddress);
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, busAddress);
    return environment;
}

void PrivateBus::kill() {
    daemon->kill();
}

} // namespace quillo::test
