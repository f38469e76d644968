#include "auth/AuthFixture.h"
#include "auth/ScriptedBrowser.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const auto noService = u"This build names no sign-in service; put an API key into Settings."_s;

} // namespace

/// Signing in with a program that was built without an identity provider.
class AuthWithoutServiceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { keyring.start(); }
    void init() {
        turn = std::make_unique<TurnAtFixedPorts>();
        fixture = std::make_unique<AuthFixture>();
    }
    void cleanup() {
        fixture.reset();
        turn.reset();
    }

    void anOriginInExampleOpensNothingAndIsTold_data() {
        QTest::addColumn<QString>("origin");
        QTest::newRow("the default") << u"https://login.quillo.example"_s;
        QTest::newRow("in capitals") << u"https://LOGIN.QUILLO.EXAMPLE"_s;
        QTest::newRow("with a port") << u"https://login.quillo.example:8443"_s;
        QTest::newRow("with the root's dot") << u"https://login.quillo.example."_s;
    }
    void anOriginInExampleOpensNothingAndIsTold() {
        QFETCH(const QString, origin);
        auto auth = managerAt(origin);
        auth->signIn();
        QVERIFY(auth->state->isSignedOut());
        QCOMPARE(*auth->lastAuthError, std::optional(noService));
        drainEvents();
        QVERIFY(fixture->opened.isEmpty());
        QVERIFY(auth->state->isSignedOut());
    }

    void theSessionThereIsStays() {
        auto auth = managerAt(u"https://login.quillo.example"_s);
        auth->state = AuthState::signedIn(u"robin@quillo.example"_s);
        auth->signIn();
        QCOMPARE(auth->state->email(), u"robin@quillo.example"_s);
    }

    void aServiceThatOnlyHasExampleInItsNameIsAsked_data() {
        QTest::addColumn<QString>("origin");
        QTest::newRow("before the end") << u"https://login.example.org"_s;
        QTest::newRow("as a part of a word") << u"https://login.myexample"_s;
        QTest::newRow("in the path") << u"https://login.quillo.test/.example"_s;
    }
    void aServiceThatOnlyHasExampleInItsNameIsAsked() {
        QFETCH(const QString, origin);
        auto auth = managerAt(origin);
        auth->signIn();
        QVERIFY(waitUntil([this] { return fixture->opened.size() == 1; }));
        QVERIFY(fixture->opened.first().toString().startsWith(origin + u"/realms/quillo/"_s));
        QCOMPARE(*auth->lastAuthError, std::optional<QString>());
    }

private:
    [[nodiscard]] std::unique_ptr<AuthManager> managerAt(const QString& origin) {
        return std::make_unique<AuthManager>(fixture->clock, fixture->secrets, fixture->session,
                                             fixture->workspace, origin);
    }

    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<TurnAtFixedPorts> turn;
    std::unique_ptr<AuthFixture> fixture;
};

QUILLO_TEST(AuthWithoutServiceTest, QCoreApplication)
#include "AuthWithoutServiceTest.moc"
