#include "platform/desktop/NotificationCenter.h"
#include "support/ChildProcess.h"
#include "support/PrivateBus.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusReply>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

/// logind's interface, served by python-dbusmock's own template.
class Logind {
public:
    Logind(PrivateBus& bus, const QDBusConnection& connection)
        : process(u"/usr/bin/python3"_s, {u"-m"_s, u"dbusmock"_s, u"--template"_s, u"logind"_s},
                  bus.environment()),
          manager(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s, u"org.freedesktop.DBus.Mock"_s,
                  connection) {
        const bool appeared = waitUntil(
            [&] { return connection.interface()->isServiceRegistered(u"org.freedesktop.login1"_s).value(); });
        if (!appeared) {
            qFatal("the mock of logind does not appear");
        }
    }

    void prepareForSleep(bool start) {
        const auto reply = manager.call(u"EmitSignal"_s, u"org.freedesktop.login1.Manager"_s,
                                        u"PrepareForSleep"_s, u"b"_s, QVariantList{start});
        if (reply.type() != QDBusMessage::ReplyMessage) {
            qFatal("the mock of logind refuses: %s", qPrintable(reply.errorMessage()));
        }
    }

private:
    ChildProcess process;
    QDBusInterface manager;
};

/// Counts the posts of the wake-up notification.
class Wakes {
public:
    explicit Wakes(NotificationCenter& center)
        : observation(center.observe(notification::workspaceDidWake, [this] { ++count; })) {}

    int count = 0;

private:
    Observation observation;
};

} // namespace

class SleepMonitorTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void postsWhenTheMachineWakesAndNotWhenItGoesToSleep() {
        PrivateBus bus;
        Logind logind(bus, bus.connect());
        NotificationCenter center;
        Wakes wakes(center);
        const auto monitor = monitorSleep(bus.connect(), center);

        logind.prepareForSleep(true);
        logind.prepareForSleep(false);

        QVERIFY(waitUntil([&] { return wakes.count == 1; }));
        logind.prepareForSleep(true);
        logind.prepareForSleep(false);
        QVERIFY(waitUntil([&] { return wakes.count == 2; }));
    }

    void logindThatComesLaterAndComesBackIsHeard() {
        PrivateBus bus;
        NotificationCenter center;
        Wakes wakes(center);
        const auto monitor = monitorSleep(bus.connect(), center);
        for (int run = 1; run <= 2; ++run) {
            Logind logind(bus, bus.connect());
            logind.prepareForSleep(false);
            QVERIFY(waitUntil([&] { return wakes.count == run; }));
        }
    }

    void anotherProgramsSignalIsNotBelieved() {
        PrivateBus bus;
        Logind logind(bus, bus.connect());
        NotificationCenter center;
        Wakes wakes(center);
        const auto monitor = monitorSleep(bus.connect(), center);

        auto stranger = bus.connect();
        auto forged = QDBusMessage::createSignal(u"/org/freedesktop/login1"_s,
                                                 u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s);
        forged << false;
        QVERIFY(stranger.send(forged));
        // Once the bus has answered its sender, the forged signal is on its way before the real one.
        QVERIFY(stranger.interface()->isServiceRegistered(u"org.freedesktop.login1"_s).value());
        logind.prepareForSleep(false);

        QVERIFY(waitUntil([&] { return wakes.count > 0; }));
        QCOMPARE(wakes.count, 1);
    }

    void busThatGoesAwayIsHarmless() {
        PrivateBus bus;
        NotificationCenter center;
        Wakes wakes(center);
        auto connection = bus.connect();
        const auto monitor = monitorSleep(connection, center);

        bus.kill();

        QVERIFY(waitUntil([&] { return !connection.isConnected(); }));
        QCOMPARE(wakes.count, 0);
    }

    void noSystemBusIsNothingToSpeakOf() {
        QTest::failOnWarning(QRegularExpression(u"."_s));
        NotificationCenter center;
        const auto monitor =
            monitorSleep(QDBusConnection::connectToBus(u"unix:path=/nonexistent"_s, u"no-bus"_s), center);
        drainEvents();
    }
};

QUILLO_TEST(SleepMonitorTest, QCoreApplication)
#include "SleepMonitorTest.moc"
