#include "auth/ScriptedBrowser.h"
#include "store/StoreFixture.h"
#include "support/LoopStallProbe.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/ProcessResources.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTcpServer>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

enum class Operation { refresh, snapshot, bankPull, renewal, exchange };

/// A way in which a connection fails. Without an answer the server is not there at all.
struct Fault {
    const char* name;
    std::optional<Answer> answer;
    QString text; ///< of the transport, %1 being the server
    /// What a pull, whose body nobody wants, does not notice.
    bool isInBody = false;
};

/// No fault of these may last as long as the program would wait for it.
constexpr auto patience = 1s;

std::vector<Fault> faults() {
    const QByteArray whole = Answer::http(200, "{}").bytes;
    const auto headEnd = whole.indexOf("\r\n\r\n") + 4;
    Answer reset = Answer::silence();
    reset.then = Answer::Then::reset;
    reset.bytes = "H";
    Answer drip{.bytes = whole, .pieceSize = 1, .between = patience};
    const QByteArray chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    const QString closed = u"%1 closed the connection without an answer."_s;
    const QString cut = u"The answer from %1 was cut short."_s;
    const QString timedOut = u"The request timed out."_s;
    return {
        {"refused", std::nullopt, u"%1 refused the connection."_s},
        {"reset", reset, closed},
        {"hang", Answer::silence(), timedOut},
        {"drip", drip, timedOut},
        {"garbage", Answer::andClose("\x16\x03\x01 garbage\r\n\r\n"),
         u"The answer from %1 is not valid HTTP."_s},
        {"cut before the answer", Answer::andClose({}), closed},
        {"cut in the status line", Answer::andClose(whole.first(12)), closed},
        {"cut in the head", Answer::andClose(whole.first(headEnd - 3)), closed},
        {"cut before the body", Answer::andClose(whole.first(headEnd)), cut, true},
        {"cut in the body", Answer::andClose(whole.chopped(1)), cut, true},
        {"cut in a chunk", Answer::andClose(chunked + "ff\r\n{"), cut, true},
    };
}

} // namespace

/// Whatever a connection does, the program lives, says what is wrong, shows its last good ledger, and gets
/// well with the next trigger.
class ConnectionFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        keyring.start();
        // What is kept for the process's life is there after it.
        shared = std::make_unique<StoreFixture>(HTTPSession::Options{.totalTimeout = patience});
        shared->startRefreshed();
        QVERIFY(waitUntil([&] { return shared->backend.openConnections() == 0; }));
        drainEvents();
        atFirst = ProcessResources::now();
    }
    void cleanupTestCase() {
        expectNothingIsLeft(60s);
        shared.reset();
    }

    void everyFaultOfAConnectionPasses_data() {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<int>("fault");
        const std::pair<Operation, const char*> operations[]{{Operation::refresh, "refresh"},
                                                             {Operation::snapshot, "snapshot"},
                                                             {Operation::bankPull, "bank pull"},
                                                             {Operation::renewal, "renewal"},
                                                             {Operation::exchange, "exchange"}};
        for (const auto& [operation, name] : operations) {
            int number = 0;
            for (const auto& fault : faults()) {
                QTest::addRow("%s: %s", name, fault.name) << operation << number++;
            }
        }
    }
    void everyFaultOfAConnectionPasses() {
        QFETCH(const Operation, operation);
        QFETCH(const int, fault);
        if (operation == Operation::renewal || operation == Operation::exchange) {
            await(shared->secrets.get(u"api_key"_s)); // the key of the rows before is stored, and cleared now
            StoreFixture fixture(HTTPSession::Options{.totalTimeout = patience});
            if (operation == Operation::renewal) {
                keepSession();
                fixture.start();
                fixture.waitUntilSettled();
                fixture.clock.advance(299s); // the access token is old now
                fixture.waitUntilSettled();
            } else {
                fixture.startRefreshed();
            }
            passThrough(fixture, operation, faults().at(static_cast<std::size_t>(fault)));
        } else {
            shared->backend.answer(target::timeline, Answer::http(200, ledgerBody(1234.5)));
            shared->backend.answer(target::refresh, Answer::http(204));
            await(shared->store().refresh());
            passThrough(*shared, operation, faults().at(static_cast<std::size_t>(fault)));
        }
        if (operation != Operation::exchange) { // the sign-in's listener stays for the browser a while
            expectNothingIsLeft(10s);
        }
    }

private:
    void expectNothingIsLeft(std::chrono::milliseconds limit) const {
        const auto isBack = [this] {
            const auto now = ProcessResources::now();
            return now.threads <= atFirst.threads && now.descriptors <= atFirst.descriptors;
        };
        QVERIFY(waitUntil(isBack, limit));
    }

    void passThrough(StoreFixture& fixture, Operation operation, const Fault& fault) {
        QVERIFY(waitUntil([&] { return fixture.backend.openConnections() == 0; }));
        LoopStallProbe probe;
        suffer(fixture, operation, fault);
        QCOMPARE((*fixture.store().timeline)->totalOwed, 1234.5);
        QVERIFY2(probe.longestStall() < LoopStallProbe::budget,
                 qPrintable(QString::number(probe.longestStall().count())));
        recover(fixture);
    }

    /// Runs the operation against the fault until the user sees its text.
    void suffer(StoreFixture& fixture, Operation operation, const Fault& fault) {
        auto& store = fixture.store();
        const QString text = QString(fault.text).replace(u"%1"_s, breakDown(fixture, operation, fault));
        switch (operation) {
        case Operation::refresh:
            await(store.refresh());
            QCOMPARE(*store.lastError, std::optional(text));
            break;
        case Operation::snapshot:
            await(store.loadSnapshot(u"2024-04-30"_s));
            QCOMPARE(*store.lastError, std::optional(u"Snapshot fetch: "_s + text));
            break;
        case Operation::bankPull:
            sufferPull(fixture,
                       fault.isInBody ? std::nullopt : std::optional(u"Bank refresh failed: "_s + text));
            break;
        case Operation::renewal:
            await(store.refresh());
            QCOMPARE(*store.lastError, std::optional(u"Sign in to Quillo (menu → Sign In…)"_s));
            QVERIFY(store.auth.state->isSignedOut());
            break;
        case Operation::exchange:
            sufferExchange(fixture, text);
            break;
        }
    }

    /// Has the server of the operation fail so; its name.
    static QString breakDown(StoreFixture& fixture, Operation operation, const Fault& fault) {
        const bool atIdentity = operation == Operation::renewal || operation == Operation::exchange;
        RoutedServer& server = atIdentity ? fixture.identity : fixture.backend;
        const QMap<Operation, QByteArray> targets{{Operation::refresh, target::timeline},
                                                  {Operation::snapshot, "/api/snapshot/2024-04-30"},
                                                  {Operation::bankPull, target::refresh},
                                                  {Operation::renewal, tokenTarget},
                                                  {Operation::exchange, tokenTarget}};
        if (fault.answer) {
            server.answer(targets[operation], *fault.answer);
        } else if (atIdentity) {
            server.goDown();
        } else {
            QTcpServer closed; // its port is nobody's in a moment
            if (!closed.listen(QHostAddress::LocalHost)) {
                qFatal("no port on loopback");
            }
            const QString name = u"127.0.0.1:%1"_s.arg(closed.serverPort());
            fixture.store().settings.backend = u"http://"_s + name;
            return name;
        }
        return server.origin().sliced(7);
    }

    static void sufferPull(StoreFixture& fixture, const std::optional<QString>& text) {
        auto& store = fixture.store();
        const auto before = fixture.backend.count(target::refresh);
        const auto pull = store.refreshFromBank();
        QVERIFY(waitUntil(
            [&] { return store.lastError->has_value() || fixture.backend.count(target::refresh) > before; }));
        QVERIFY(waitUntil([&] { return pull.isFinished() || fixture.backend.openConnections() == 0; }));
        drainEvents();
        QCOMPARE(*store.lastError, text);
    }

    static void sufferExchange(StoreFixture& fixture, const QString& text) {
        auto& auth = fixture.store().auth;
        const TurnAtFixedPorts turn;
        auth.signIn();
        QVERIFY(waitUntil([&] { return !fixture.opened.isEmpty(); }));
        ScriptedBrowser browser;
        browser.comeBack(fixture.opened.last());
        QVERIFY(waitUntil([&] { return auth.lastAuthError->has_value(); }));
        QCOMPARE(*auth.lastAuthError, std::optional(text));
        QVERIFY(waitUntil([&] { return browser.isDone() && auth.state->isSignedOut(); }));
    }

    /// With the server well again, the next trigger brings everything back.
    void recover(StoreFixture& fixture) {
        auto& store = fixture.store();
        fixture.backend.answer(target::timeline, Answer::http(200, ledgerBody(99)));
        store.settings.backend = fixture.backend.origin();
        store.settings.apiKey = u"key-1"_s;
        fixture.clock.advance(330s); // a heartbeat after the interval, wherever that began
        QVERIFY(waitUntil([&] { return (*store.timeline)->totalOwed == 99 && !store.isLoading; }));
        QCOMPARE(*store.lastError, std::optional<QString>());
    }

    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<StoreFixture> shared; ///< for operations that leave the session as it is
    ProcessResources atFirst;
};

QUILLO_TEST(ConnectionFaultsTest, QCoreApplication)
#include "ConnectionFaultsTest.moc"
