#include "core/Awaiters.h"
#include "core/LocalizedError.h"
#include "core/Promise.h"
#include "core/TaskScope.h"
#include "support/ManualClock.h"
#include "support/Wait.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <exception>

#include <sys/wait.h>
#include <unistd.h>

using namespace quillo;
using namespace quillo::test;
using namespace std::chrono_literals;

namespace {

/// Counts how many of it live, to see frames being freed.
struct Witness {
    explicit Witness(int& counter) : count(counter) { ++count; }
    Witness(const Witness& other) : count(other.count) { ++count; }
    Witness& operator=(const Witness&) = delete;
    ~Witness() { --count; }
    int& count;
};

class Button : public QObject {
    Q_OBJECT
public:
Q_SIGNALS:
    void pressed();
};

struct DeleteReply {
    void operator()(QNetworkReply* reply) const {
        // Not disconnect(): the reply's own machinery hangs on its signals, and abort() would reach nobody.
        reply->abort();
        reply->deleteLater();
    }
};

Task<int> answer() {
    co_return 42;
}

Task<int> sumOfTwoAnswers(Clock& clock) {
    const auto first = co_await answer();
    Sleep pause(clock, 1s);
    co_await pause;
    const auto second = co_await answer();
    co_return first + second;
}

Task<> fail(Clock& clock) {
    Sleep pause(clock, 1s);
    co_await pause;
    throw LocalizedError(QStringLiteral("No luck"));
}

Task<> awaitFailure(Clock& clock) {
    co_await fail(clock);
}

Task<> sleepWith(Clock& clock, int& living, bool& resumed) {
    const Witness witness(living);
    Sleep pause(clock, 1s);
    co_await pause;
    resumed = true;
}

Task<> outer(Clock& clock, int& living, bool& resumed) {
    const Witness witness(living);
    co_await sleepWith(clock, living, resumed);
    resumed = true;
}

Task<> waitFor(Button& button, bool& resumed) {
    UntilEmitted pressed(&button, &Button::pressed);
    co_await pressed;
    resumed = true;
}

Task<> fetch(QNetworkAccessManager& manager, QUrl url, QNetworkReply*& seen, bool& resumed) {
    const std::unique_ptr<QNetworkReply, DeleteReply> reply(manager.get(QNetworkRequest(url)));
    seen = reply.get();
    UntilEmitted finished(reply.get(), &QNetworkReply::finished);
    co_await finished;
    resumed = true;
}

/// Owns its running task, as the store owns its refresh.
class Owner {
public:
    explicit Owner(Clock& time) : clock(time) {}
    void start(std::function<void()> atEnd, int& living) { scope.spawn(work(std::move(atEnd), living)); }

private:
    Task<> work(std::function<void()> atEnd, int& living) {
        const Witness witness(living);
        Sleep pause(clock, 1s);
        co_await pause;
        atEnd();
    }

    Clock& clock;
    TaskScope scope;
};

} // namespace

class TaskTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void taskStartsAtOnceAndRunsUntilItFirstWaits() {
        ManualClock clock;
        int living = 0;
        bool resumed = false;
        const auto task = sleepWith(clock, living, resumed);
        QCOMPARE(living, 1);
        QVERIFY(!task.isFinished());
        QVERIFY(!resumed);
    }

    void resultReachesWhoeverAwaitsTheTask() {
        ManualClock clock;
        auto task = sumOfTwoAnswers(clock);
        clock.advance(1s);
        QCOMPARE(await(std::move(task)), 84);
    }

    void exceptionCrossesTasks() {
        ManualClock clock;
        auto task = awaitFailure(clock);
        clock.advance(1s);
        QString text;
        try {
            await(std::move(task));
        } catch (const LocalizedError& error) {
            text = error.errorDescription();
        }
        QCOMPARE(text, QStringLiteral("No luck"));
    }

    void droppingATaskFreesItsFrameAndThoseItAwaits() {
        ManualClock clock;
        int living = 0;
        bool resumed = false;
        {
            const auto task = outer(clock, living, resumed);
            QCOMPARE(living, 2);
        }
        QCOMPARE(living, 0);
        clock.advance(2s);
        drainEvents();
        QVERIFY(!resumed);
    }

    void droppingATaskStopsItsTimer() {
        ManualClock clock;
        int living = 0;
        bool resumed = false;
        auto task = sleepWith(clock, living, resumed);
        QCOMPARE(clock.runningTimers(), 1U);
        task.cancel();
        QCOMPARE(clock.runningTimers(), 0U);
    }

    void droppingATaskWhoseEventHasFiredNeverResumesIt() {
        ManualClock clock;
        int living = 0;
        bool resumed = false;
        auto task = sleepWith(clock, living, resumed);
        clock.advance(1s); // the resumption is posted now
        task.cancel();
        drainEvents();
        QVERIFY(!resumed);
        QCOMPARE(living, 0);
    }

    void droppingATaskMidFlightAbortsItsRequest() {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        QNetworkAccessManager manager;
        QNetworkReply* reply = nullptr;
        bool resumed = false;
        const QUrl url(QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort()));
        auto task = fetch(manager, url, reply, resumed);
        QVERIFY(waitUntil([&] { return server.hasPendingConnections(); }));
        const std::unique_ptr<QTcpSocket> connection(server.nextPendingConnection());
        QVERIFY(waitUntil([&] { return connection->bytesAvailable() > 0; }));
        const QPointer<QNetworkReply> watched(reply);

        task.cancel();

        QVERIFY(waitUntil([&] { return connection->state() == QAbstractSocket::UnconnectedState; }));
        QVERIFY(waitUntil([&] { return watched.isNull(); }));
        QVERIFY(!resumed);
    }

    void nothingResumesInsideAbort() {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        QNetworkAccessManager manager;
        QNetworkReply* reply = nullptr;
        bool resumed = false;
        const QUrl url(QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort()));
        auto task = fetch(manager, url, reply, resumed);
        QVERIFY(waitUntil([&] { return server.hasPendingConnections(); }));

        reply->abort();

        QVERIFY(!resumed);
        await(std::move(task));
        QVERIFY(resumed);
    }

    void nothingResumesInsideASignalsEmitter() {
        Button button;
        bool resumed = false;
        auto task = waitFor(button, resumed);
        Q_EMIT button.pressed();
        QVERIFY(!resumed);
        await(std::move(task));
        QVERIFY(resumed);
    }

    void aSignalEmittedBeforeItIsAwaitedIsNotLost() {
        Button button;
        UntilEmitted pressed(&button, &Button::pressed);
        Q_EMIT button.pressed();
        drainEvents();
        QVERIFY(pressed.await_ready());
    }

    void aSenderThatDiesLeavesTheTaskWaitingAndHarmless() {
        auto button = std::make_unique<Button>();
        bool resumed = false;
        auto task = waitFor(*button, resumed);
        button.reset();
        drainEvents();
        QVERIFY(!resumed);
        task.cancel();
    }

    void onlyTheFirstFulfilmentOfAPromiseReachesItsTaskOnALaterTurn() {
        Promise<QString> promise;
        auto task = promise.task();
        promise.fulfil(QStringLiteral("first"));
        promise.fulfil(QStringLiteral("second"));
        QVERIFY(!task.isFinished());
        QCOMPARE(await(std::move(task)), QStringLiteral("first"));
    }

    void aPromiseToATaskThatWasDroppedReachesNobody() {
        Promise<int> promise;
        { const auto dropped = promise.task(); }
        promise.fulfil(1);
        drainEvents();
    }

    void aTaskWhosePromiseIsDroppedWaitsOnAndIsHarmless() {
        auto promise = std::make_unique<Promise<int>>();
        auto task = promise->task();
        promise.reset();
        drainEvents();
        QVERIFY(!task.isFinished());
        task.cancel();
    }

    void destroyingTheOwnerOfARunningTaskIsSafe() {
        ManualClock clock;
        int living = 0;
        bool ended = false;
        auto owner = std::make_unique<Owner>(clock);
        owner->start([&] { ended = true; }, living);
        QCOMPARE(living, 1);
        owner.reset();
        QCOMPARE(living, 0);
        clock.advance(1s);
        drainEvents();
        QVERIFY(!ended);
    }

    void anOwnerMayBeDestroyedByItsOwnTask() {
        ManualClock clock;
        int living = 0;
        bool ended = false;
        auto owner = std::make_unique<Owner>(clock);
        owner->start(
            [&] {
                owner.reset();
                ended = true;
            },
            living);
        clock.advance(1s);
        QVERIFY(waitUntil([&] { return ended; }));
        drainEvents();
        QCOMPARE(living, 0);
    }

    void aScopeFreesATaskThatHasEnded() {
        ManualClock clock;
        TaskScope scope;
        int living = 0;
        bool resumed = false;
        scope.spawn(sleepWith(clock, living, resumed));
        QCOMPARE(scope.count(), 1U);
        clock.advance(1s);
        QVERIFY(waitUntil([&] { return resumed; }));
        drainEvents();
        QCOMPARE(scope.count(), 0U);
        QCOMPARE(living, 0);
    }

    void aTaskThatNeverWaitsLeavesNothingInItsScope() {
        TaskScope scope;
        bool ran = false;
        auto work = [&ran]() -> Task<> {
            ran = true;
            co_return;
        };
        scope.spawn(work());
        QVERIFY(ran);
        QCOMPARE(scope.count(), 0U);
    }

    void anOperationCanBeStartedOnTheNextTurn() {
        TaskScope scope;
        bool ran = false;
        scope.spawnLater([&ran]() -> Task<> {
            ran = true;
            co_return;
        });
        QVERIFY(!ran);
        QVERIFY(waitUntil([&] { return ran; }));
        drainEvents();
        QCOMPARE(scope.count(), 0U);
    }

    void anExceptionOfATaskNobodyAwaitsEndsTheProgram() {
        constexpr int told = 7;
        const auto child = fork();
        if (child == 0) {
            std::set_terminate([] { _exit(told); });
            const auto fail = []() -> Task<> {
                throw LocalizedError(QStringLiteral("No luck"));
                co_return;
            };
            TaskScope scope;
            scope.spawn(fail());
            _exit(0);
        }
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), told);
    }

    void aScopeKeepsItsTasksApart() {
        ManualClock clock;
        TaskScope scope;
        int living = 0;
        std::vector<int> order;
        auto work = [&](std::chrono::seconds delay, int number) -> Task<> {
            const Witness witness(living);
            Sleep pause(clock, delay);
            co_await pause;
            order.push_back(number);
        };
        scope.spawn(work(2s, 2));
        scope.spawn(work(1s, 1));
        scope.spawn(work(3s, 3));
        clock.advance(2s);
        QVERIFY(waitUntil([&] { return order.size() == 2; }));
        drainEvents();
        QCOMPARE(order, (std::vector<int>{1, 2}));
        QCOMPARE(living, 1);
        scope.cancelAll();
        QCOMPARE(living, 0);
    }
};

QTEST_GUILESS_MAIN(TaskTest)
#include "TaskTest.moc"
