#include "platform/desktop/SingleInstance.h"

#include "platform/desktop/ActivationToken.h"
#include "support/ChildProcess.h"
#include "support/PrivateBus.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QTest>

#include <csignal>
#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

const QString applicationId = u"app.quillo.Quillo-1.Test"_s;
const QString objectPath = u"/app/quillo/Quillo_1/Test"_s;
const QString applicationInterface = u"org.freedesktop.Application"_s;

/// A program of its own that claims the name on the bus of its environment.
std::unique_ptr<ChildProcess> launch(const QProcessEnvironment& environment, int limit = 20000) {
    return std::make_unique<ChildProcess>(QCoreApplication::applicationDirPath() + u"/SingleInstanceProbe"_s,
                                          QStringList{applicationId, QString::number(limit)}, environment);
}

QDBusMessage call(QDBusConnection connection, const QString& method, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(applicationId, objectPath, applicationInterface, method);
    message.setArguments(arguments);
    return connection.call(message, QDBus::BlockWithGui);
}

/// The first instance, in the process of the test.
struct Running {
    Running() {
        instance.setRequests(
            {note(u"open-ledger"_s), note(u"refresh"_s), note(u"settings"_s), note(u"quit"_s)});
        claim = instance.claim({});
    }

    std::function<void()> note(const QString& name) {
        return [this, name] { requests << name + u' ' + ActivationToken::take(); };
    }

    PrivateBus bus;
    QDBusConnection caller = bus.connect();
    SingleInstance instance{bus.connect(), applicationId};
    SingleInstance::Claim claim = SingleInstance::Claim::alone;
    QStringList requests;
};

} // namespace

class SingleInstanceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyInstanceIsTheFirst() {
        const Running running;
        QCOMPARE(running.claim, SingleInstance::Claim::first);
        QVERIFY(running.caller.interface()->isServiceRegistered(applicationId).value());
    }

    void activateOpensTheLedgerWithTheCallersToken_data() {
        QTest::addColumn<QVariantMap>("platformData");
        QTest::addColumn<QString>("token");
        QTest::newRow("none") << QVariantMap{} << QString();
        QTest::newRow("activation token") << QVariantMap{{u"activation-token"_s, u"a"_s}} << u"a"_s;
        QTest::newRow("startup id") << QVariantMap{{u"desktop-startup-id"_s, u"b_TIME1"_s}} << u"b_TIME1"_s;
        QTest::newRow("both") << QVariantMap{{u"activation-token"_s, u"a"_s},
                                             {u"desktop-startup-id"_s, u"b"_s}}
                              << u"a"_s;
        QTest::newRow("of another type")
            << QVariantMap{{u"activation-token"_s, QVariantList{1}}} << QString();
    }
    void activateOpensTheLedgerWithTheCallersToken() {
        QFETCH(const QVariantMap, platformData);
        QFETCH(const QString, token);
        Running running;
        ActivationToken::offer(u"older"_s);

        const auto reply = call(running.caller, u"Activate"_s, {platformData});

        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&] { return !running.requests.isEmpty(); }));
        QCOMPARE(running.requests, QStringList{u"open-ledger "_s + token});
    }

    void actionsReachTheirHandlers_data() {
        QTest::addColumn<QString>("name");
        for (const auto* const name : {"open-ledger", "refresh", "settings", "quit"}) {
            QTest::newRow(name) << QString::fromLatin1(name);
        }
    }
    void actionsReachTheirHandlers() {
        QFETCH(const QString, name);
        Running running;

        const auto reply = call(running.caller, u"ActivateAction"_s,
                                {name, QVariantList{}, QVariantMap{{u"activation-token"_s, u"t"_s}}});

        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&] { return !running.requests.isEmpty(); }));
        QCOMPARE(running.requests, QStringList{name + u" t"_s});
    }

    void unknownActionIsAnErrorForTheCallerAndNothingElse() {
        Running running;
        const auto reply =
            call(running.caller, u"ActivateAction"_s, {u"format-disk"_s, QVariantList{}, QVariantMap{}});
        QCOMPARE(reply.errorName(), u"org.freedesktop.DBus.Error.InvalidArgs"_s);
        drainEvents();
        QCOMPARE(running.requests, QStringList());
    }

    void openIsAcceptedAndDoesNothing() {
        Running running;
        const auto reply =
            call(running.caller, u"Open"_s, {QStringList{u"file:///etc/passwd"_s}, QVariantMap{}});
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        drainEvents();
        QCOMPARE(running.requests, QStringList());
    }

    void requestWithoutAHandlerDoesNothing() {
        Running running;
        running.instance.setRequests({});
        call(running.caller, u"Activate"_s, {QVariantMap{}});
        drainEvents();
        QCOMPARE(running.requests, QStringList());
    }

    void secondLaunchOpensTheLedgerOfTheFirstAndEnds() {
        PrivateBus bus;
        const auto first = launch(bus.environment());
        QCOMPARE(first->readLine(), "first");

        auto environment = bus.environment();
        environment.insert(u"XDG_ACTIVATION_TOKEN"_s, u"token"_s);
        environment.insert(u"DESKTOP_STARTUP_ID"_s, u"id"_s);
        const auto second = launch(environment);
        QCOMPARE(second->waitForExit(), 0);
        QCOMPARE(second->readLine(), "second");
        QCOMPARE(first->readLine(), "open-ledger token");

        environment.remove(u"XDG_ACTIVATION_TOKEN"_s);
        const auto third = launch(environment);
        QCOMPARE(third->waitForExit(), 0);
        QCOMPARE(first->readLine(), "open-ledger id");
    }

    void launchesInTheSameInstantLeaveOne() {
        PrivateBus bus;
        std::vector<std::unique_ptr<ChildProcess>> all;
        for (int number = 0; number < 8; ++number) {
            all.push_back(launch(bus.environment()));
        }
        QList<QByteArray> claims;
        ChildProcess* first = nullptr;
        for (const auto& instance : all) {
            claims.append(instance->readLine());
            if (claims.constLast() == "first") {
                first = instance.get();
            } else {
                QCOMPARE(instance->waitForExit(), 0);
            }
        }
        QCOMPARE(claims.count("first"), 1);
        QCOMPARE(claims.count("second"), 7);
        for (int number = 0; number < 7; ++number) {
            QCOMPARE(first->readLine(), "open-ledger");
        }
    }

    void crashedInstanceLeavesNothingBehind() {
        PrivateBus bus;
        const auto crashed = launch(bus.environment());
        QCOMPARE(crashed->readLine(), "first");
        crashed->kill();

        const auto next = launch(bus.environment());
        QCOMPARE(next->readLine(), "first");
    }

    void instanceThatEndsWhileItIsAskedIsFollowedByTheOneThatAsked() {
        PrivateBus bus;
        const auto first = launch(bus.environment());
        QCOMPARE(first->readLine(), "first");
        ::kill(static_cast<pid_t>(first->processId()), SIGSTOP);
        const auto second = launch(bus.environment());
        auto watcher = bus.connect();
        // Until both are on the bus, and the second may be waiting for the first's answer.
        QVERIFY(waitUntil([&] {
            return watcher.interface()->registeredServiceNames().value().filter(u":"_s).size() == 3;
        }));
        first->kill();

        QCOMPARE(second->readLine(), "first");
    }

    void hungInstanceDoesNotHangTheSecondForEver() {
        PrivateBus bus;
        const auto hung = launch(bus.environment());
        QCOMPARE(hung->readLine(), "first");
        ::kill(static_cast<pid_t>(hung->processId()), SIGSTOP);

        const auto second = launch(bus.environment(), 100);
        QCOMPARE(second->waitForExit(), 0);
        QCOMPARE(second->readLine(), "second");

        ::kill(static_cast<pid_t>(hung->processId()), SIGCONT);
        QCOMPARE(hung->readLine(), "open-ledger");
    }

    void nameThatAnotherProgramOwnsIsTold() {
        PrivateBus bus;
        auto stranger = bus.connect();
        QVERIFY(stranger.registerService(applicationId));
        const auto second = launch(bus.environment());
        QCOMPARE(second->readLine(), "taken");
        QCOMPARE(second->waitForExit(), 0);
    }

    void instanceThatEndsIsNeverTakenForAnotherProgram() {
        PrivateBus bus;
        auto first = std::make_unique<SingleInstance>(bus.connect(), applicationId);
        QCOMPARE(first->claim({}), SingleInstance::Claim::first);
        first.reset(); // its connection stays
        SingleInstance next(bus.connect(), applicationId);
        QCOMPARE(next.claim({}), SingleInstance::Claim::first);
    }

    void withoutASessionBusItRunsAlone() {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nonexistent"_s);
        const auto alone = launch(environment);
        QCOMPARE(alone->readLine(), "alone");
        QVERIFY(alone->isRunning());
    }

    void busThatGoesAwayEndsTheInstance() {
        Running running;
        running.caller = QDBusConnection(QString());
        running.bus.kill();
        QVERIFY(waitUntil([&] { return !running.requests.isEmpty(); }));
        QCOMPARE(running.requests, QStringList{u"quit "_s});
    }

    void quitEndsTheInstanceAndFreesTheName() {
        PrivateBus bus;
        const auto first = launch(bus.environment());
        QCOMPARE(first->readLine(), "first");
        auto caller = bus.connect();

        call(caller, u"ActivateAction"_s, {u"quit"_s, QVariantList{}, QVariantMap{}});

        QCOMPARE(first->waitForExit(), 0);
        QVERIFY(waitUntil([&] { return !caller.interface()->isServiceRegistered(applicationId).value(); }));
    }

    void applicationCommandOfOtherDesktopsReachesIt() {
        PrivateBus bus;
        const auto first = launch(bus.environment());
        QCOMPARE(first->readLine(), "first");
        const QStringList arguments{u"action"_s, applicationId, u"refresh"_s};
        ChildProcess command(u"gapplication"_s, arguments, bus.environment());
        QCOMPARE(command.waitForExit(), 0);
        QCOMPARE(first->readLine(), "refresh");
    }
};

QUILLO_TEST(SingleInstanceTest, QCoreApplication)
#include "SingleInstanceTest.moc"
