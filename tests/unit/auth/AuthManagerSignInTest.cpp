#include "auth/AuthFixture.h"
#include "auth/LoopbackCallback.h"
#include "auth/ProofKey.h"
#include "auth/ScriptedBrowser.h"
#include "support/LoopStallProbe.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/Wait.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr quint16 firstPort = 53682;
constexpr quint16 secondPort = 53683;

const auto portsInUse = u"Ports 53682/53683 are in use — close the conflicting app and retry"_s;
const auto malformed = u"Sign-in callback was malformed"_s;

const QByteArray robin = jwt(R"({"email":"robin@quillo.example"})");

} // namespace

/// Signing in through a scripted browser, with the real listener on its real ports.
class AuthManagerSignInTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { keyring.start(); }
    void init() {
        turn = std::make_unique<TurnAtFixedPorts>();
        browser = std::make_unique<ScriptedBrowser>();
        fixture = std::make_unique<AuthFixture>();
        fixture->identity.answer(tokenTarget, Answer::http(200, tokenBody(robin, 300, "refresh-1")));
    }
    void cleanup() {
        fixture.reset();
        browser.reset();
        turn.reset();
    }

    void theAuthorizationRequestHasItsItemsInOrder() {
        const auto url = beginSignIn();
        const AuthorizationRequest request(url);
        QStringList names;
        for (const auto& item : request.items) {
            names.append(item.first);
        }
        QCOMPARE(names, (QStringList{u"response_type"_s, u"client_id"_s, u"redirect_uri"_s, u"scope"_s,
                                     u"code_challenge"_s, u"code_challenge_method"_s, u"state"_s}));
        QCOMPARE(request.value(u"response_type"_s), u"code"_s);
        QCOMPARE(request.value(u"client_id"_s), u"quillo-mac"_s);
        QCOMPARE(request.value(u"redirect_uri"_s), u"http://127.0.0.1:53682/callback"_s);
        QCOMPARE(request.value(u"scope"_s), u"openid profile email offline_access"_s);
        QCOMPARE(request.value(u"code_challenge"_s).size(), 43);
        QCOMPARE(request.value(u"code_challenge_method"_s), u"S256"_s);
        QCOMPARE(request.value(u"state"_s).size(), 32);
        const auto sent = url.toEncoded();
        QVERIFY(sent.startsWith(fixture->identity.origin().toUtf8() +
                                "/realms/quillo/protocol/openid-connect/auth?response_type=code&"));
        QVERIFY(sent.contains("scope=openid%20profile%20email%20offline_access&"));
    }

    void everySignInHasAStateAndAChallengeOfItsOwn() {
        const AuthorizationRequest first(beginSignIn());
        fixture->auth.signOut();
        const AuthorizationRequest second(beginSignIn());
        QVERIFY(first.value(u"state"_s) != second.value(u"state"_s));
        QVERIFY(first.value(u"code_challenge"_s) != second.value(u"code_challenge"_s));
    }

    void aSignInEndsSignedInWithItsSecretsStored() {
        const auto url = beginSignIn();
        QVERIFY(fixture->auth.state->isSigningIn());
        browser->comeBack(url, "a-b~c");
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
        QCOMPARE(fixture->auth.state->email(), u"robin@quillo.example"_s);
        QVERIFY(!fixture->auth.lastAuthError->has_value());
        const auto request = fixture->identity.requests(tokenTarget).at(0);
        QVERIFY(request.body.contains("code=a%2Db%7Ec"));
        auto form = formOf(request);
        const auto verifier = form.take("code_verifier");
        QCOMPARE(verifier.size(), 64);
        QCOMPARE(codeChallenge(verifier), AuthorizationRequest(url).value(u"code_challenge"_s));
        QCOMPARE(form, (QMap<QByteArray, QString>{{"grant_type", u"authorization_code"_s},
                                                  {"code", u"a-b~c"_s},
                                                  {"redirect_uri", u"http://127.0.0.1:53682/callback"_s},
                                                  {"client_id", u"quillo-mac"_s}}));
        QCOMPARE(await(fixture->auth.validAccessToken()), QString::fromLatin1(robin));
        QCOMPARE(fixture->identity.count(), 1);
        await(fixture->secrets.get(u"oidc_email"_s)); // after what was to be stored
        QCOMPARE(storedRefreshToken(), std::optional(u"refresh-1"_s));
        QCOMPARE(storedEmail(), std::optional(u"robin@quillo.example"_s));
        QVERIFY(waitUntil([&] { return browser->isDone(); }));
        QVERIFY(browser->page().startsWith("HTTP/1.1 200 OK\r\n"));
        QVERIFY(browser->page().contains("Content-Length: 140\r\n"));
        QVERIFY(browser->page().endsWith("You can close this tab and return to Quillo.</p>"));
    }

    void theUserIsCalledAccountWhenTheTokenNamesNoEMail_data() {
        QTest::addColumn<QByteArray>("token");
        QTest::newRow("no claim") << jwt(R"({"sub":"1"})");
        QTest::newRow("not a text") << jwt(R"({"email":1})");
        QTest::newRow("opaque") << QByteArray("opaque");
    }
    void theUserIsCalledAccountWhenTheTokenNamesNoEMail() {
        QFETCH(QByteArray, token);
        fixture->identity.answer(tokenTarget, Answer::http(200, tokenBody(token)));
        browser->comeBack(beginSignIn());
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
        QCOMPARE(fixture->auth.state->email(), u"account"_s);
        await(fixture->secrets.get(u"oidc_email"_s));
        QCOMPARE(storedEmail(), std::optional(u"account"_s));
    }

    void anyPathOfTheRedirectIsAccepted() {
        const AuthorizationRequest request(beginSignIn());
        browser->get(request.port(),
                     "/anything?code=a&state=" + request.value(u"state"_s).toUtf8() + "&code=b&state=c");
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
        QCOMPARE(formOf(fixture->identity.requests(tokenTarget).at(0)).value("code"), u"a"_s);
    }

    void anotherStateIsRejectedWithoutAnExchange() {
        const AuthorizationRequest request(beginSignIn());
        browser->get(request.port(), "/callback?code=a&state=forged");
        QVERIFY(waitUntil([&] { return fixture->auth.state->isSignedOut(); }));
        QCOMPARE(*fixture->auth.lastAuthError, std::optional(u"Sign-in rejected (state mismatch)"_s));
        QCOMPARE(fixture->identity.count(), 0);
        QVERIFY(waitUntil([&] { return browser->isDone(); }));
        QVERIFY(browser->page().contains("Signed in")); // sent before the state was looked at
    }

    void aMalformedRedirectIsRejected_data() {
        QTest::addColumn<QByteArray>("target");
        QTest::newRow("no query") << QByteArray("/callback");
        QTest::newRow("no code") << QByteArray("/callback?state=a");
        QTest::newRow("no state") << QByteArray("/callback?code=a");
        QTest::newRow("cancelled by the user") << QByteArray("/callback?error=access_denied&state=a");
    }
    void aMalformedRedirectIsRejected() {
        QFETCH(QByteArray, target);
        browser->get(AuthorizationRequest(beginSignIn()).port(), target);
        QVERIFY(waitUntil([&] { return fixture->auth.state->isSignedOut(); }));
        QCOMPARE(*fixture->auth.lastAuthError, std::optional(malformed));
        QCOMPARE(fixture->identity.count(), 0);
        QVERIFY(waitUntil([&] { return browser->isDone(); }));
        QVERIFY(browser->page().contains("Content-Length: 123\r\n"));
        QVERIFY(browser->page().contains("Sign-in failed"));
    }

    void theSecondPortIsUsedWhenTheFirstIsTaken() {
        const auto other = occupy(firstPort);
        const auto url = beginSignIn();
        QCOMPARE(AuthorizationRequest(url).value(u"redirect_uri"_s), u"http://127.0.0.1:53683/callback"_s);
        browser->comeBack(url);
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
        QCOMPARE(formOf(fixture->identity.requests(tokenTarget).at(0)).value("redirect_uri"),
                 u"http://127.0.0.1:53683/callback"_s);
    }

    void withBothPortsTakenTheUserIsTold() {
        const auto one = occupy(firstPort);
        const auto other = occupy(secondPort);
        fixture->auth.signIn();
        QVERIFY(waitUntil([&] { return !fixture->auth.state->isSigningIn(); }));
        QVERIFY(fixture->auth.state->isSignedOut());
        QCOMPARE(*fixture->auth.lastAuthError, std::optional(portsInUse));
        QVERIFY(fixture->opened.isEmpty());
    }

    void signingInAgainWhileSigningInDoesNothing() {
        const auto url = beginSignIn();
        fixture->auth.lastAuthError = u"still here"_s;
        fixture->auth.signIn();
        drainEvents();
        QCOMPARE(fixture->opened.size(), 1);
        QCOMPARE(*fixture->auth.lastAuthError, std::optional(u"still here"_s));
        browser->comeBack(url);
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
    }

    void aNewSignInForgetsTheLastErrorBeforeItBegins() {
        fixture->auth.lastAuthError = u"before"_s;
        QStringList order;
        const auto errors = fixture->auth.lastAuthError.observe(
            Published<std::optional<QString>>::Repeats::deliver,
            [&](const auto& next) { order.append(next.value_or(u"no error"_s)); });
        const auto states =
            fixture->auth.state.observe(Published<AuthState>::Repeats::deliver, [&](const auto& next) {
                order.append(next.isSigningIn() ? u"signing in"_s : u"other"_s);
            });
        fixture->auth.signIn();
        QCOMPARE(order, (QStringList{u"no error"_s, u"signing in"_s}));
    }

    void aSecondSignInRightAfterTheFirstSucceeds_data() {
        QTest::addColumn<bool>("firstSucceeds");
        QTest::newRow("after a failure") << false;
        QTest::newRow("after a success") << true;
    }
    void aSecondSignInRightAfterTheFirstSucceeds() {
        QFETCH(bool, firstSucceeds);
        const auto first = beginSignIn();
        firstSucceeds ? browser->comeBack(first) : browser->get(firstPort, "/callback");
        QVERIFY(waitUntil([&] { return !fixture->auth.state->isSigningIn(); }));
        const auto second = beginSignIn();
        QCOMPARE(AuthorizationRequest(second).port(), firstPort);
        browser->comeBack(second, "code-2");
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
        QVERIFY(!fixture->auth.lastAuthError->has_value());
    }

    void anExchangeThatFailsIsTold_data() {
        QTest::addColumn<Answer>("answer");
        QTest::addColumn<QString>("text");
        const auto prefix = u"Token exchange failed: "_s;
        QTest::newRow("text") << Answer::http(400, "invalid_grant") << prefix + u"invalid_grant"_s;
        QTest::newRow("500 characters")
            << Answer::http(400, QByteArray(500, 'x')) << prefix + QString(200, u'x');
        QTest::newRow("500 letters with accents")
            << Answer::http(400, u"e\u0301"_s.repeated(500).toUtf8()) << prefix + u"e\u0301"_s.repeated(200);
        QTest::newRow("exactly 200") << Answer::http(400, QByteArray(200, 'x'))
                                     << prefix + QString(200, u'x');
        QTest::newRow("no UTF-8") << Answer::http(400, "\xff\xfe") << prefix;
        QTest::newRow("no body") << Answer::http(503) << prefix;
        QTest::newRow("redirect") << Answer::http(302, "moved", {"Location: /x"}) << prefix + u"moved"_s;
        QTest::newRow("no access token")
            << Answer::http(200, R"({"expires_in":300})") << u"access_token: missing"_s;
    }
    void anExchangeThatFailsIsTold() {
        QFETCH(Answer, answer);
        QFETCH(QString, text);
        fixture->identity.answer(tokenTarget, answer);
        browser->comeBack(beginSignIn());
        QVERIFY(waitUntil([&] { return !fixture->auth.state->isSigningIn(); }));
        QVERIFY(fixture->auth.state->isSignedOut());
        QCOMPARE(fixture->auth.lastAuthError->value_or(QString()), text);
        QCOMPARE(storedRefreshToken(), std::nullopt);
        QCOMPARE(storedEmail(), std::nullopt);
        // The browser was answered before.
        QVERIFY(waitUntil([&] { return browser->isDone(); }));
        QCOMPARE(browser->page(), callbackResponse(true));
    }

    void theErrorIsThereBeforeTheSignInEnds() {
        fixture->identity.answer(tokenTarget, Answer::http(503));
        const auto url = beginSignIn();
        std::optional<bool> wasThere;
        const auto observation =
            fixture->auth.state.observe(Published<AuthState>::Repeats::deliver, [&](const AuthState&) {
                wasThere = fixture->auth.lastAuthError->has_value();
            });
        browser->comeBack(url);
        QVERIFY(waitUntil([&] { return wasThere.has_value(); }));
        QVERIFY(*wasThere);
    }

    void aConnectionAcceptedBeforeTheRedirectChangesNothingAfterIt() {
        const auto url = beginSignIn();
        const auto early = connectionTo(AuthorizationRequest(url).port());
        browser->comeBack(url, "first");
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
        early->write("GET /callback?code=second&state=" +
                     AuthorizationRequest(url).value(u"state"_s).toUtf8() + " HTTP/1.1\r\n\r\n");
        QVERIFY(waitUntil([&] { return early->state() == QAbstractSocket::UnconnectedState; }));
        QCOMPARE(early->readAll(), callbackResponse(true));
        drainEvents();
        QVERIFY(fixture->auth.isSignedIn());
        QCOMPARE(fixture->identity.count(), 1);
        QCOMPARE(formOf(fixture->identity.requests(tokenTarget).at(0)).value("code"), u"first"_s);
    }

    void aProviderOutOfReachIsTold() {
        const auto url = beginSignIn();
        fixture->identity.goDown();
        browser->comeBack(url);
        QVERIFY(waitUntil([&] { return fixture->auth.state->isSignedOut(); }));
        QVERIFY(fixture->auth.lastAuthError->value_or(QString()).contains(u"127.0.0.1"_s));
    }

    void aFailedSignInGoesBackToTheStoredSession_data() {
        QTest::addColumn<QString>("email");
        QTest::addColumn<QString>("shown");
        QTest::newRow("with an e-mail") << u"robin@quillo.example"_s << u"robin@quillo.example"_s;
        QTest::newRow("without one") << QString() << u"account"_s;
    }
    void aFailedSignInGoesBackToTheStoredSession() {
        QFETCH(QString, email);
        QFETCH(QString, shown);
        keepSession(email);
        beginSignIn();
        browser->get(firstPort, "/callback");
        QVERIFY(waitUntil([&] { return !fixture->auth.state->isSigningIn(); }));
        QVERIFY(fixture->auth.isSignedIn());
        QCOMPARE(fixture->auth.state->email(), shown);
        QCOMPARE(*fixture->auth.lastAuthError, std::optional(malformed));
    }

    void aFailedSignInWithALockedStoreSignsNobodyOut() {
        keepSession();
        await(fixture->auth.restore());
        keyring.lock();
        beginSignIn();
        browser->get(firstPort, "/callback");
        QVERIFY(waitUntil([&] { return !fixture->auth.state->isSigningIn(); }));
        const auto after = *fixture->auth.state;
        keyring.unlock();
        QCOMPARE(after.email(), u"robin@quillo.example"_s);
    }

    void aSignInReplacesTheSessionBefore() {
        keepSession(u"other@quillo.example"_s);
        await(fixture->auth.restore());
        browser->comeBack(beginSignIn());
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
        QCOMPARE(fixture->auth.state->email(), u"robin@quillo.example"_s);
        await(fixture->secrets.get(u"oidc_email"_s));
        QCOMPARE(storedEmail(), std::optional(u"robin@quillo.example"_s));
    }

    void aBrowserThatDoesNotOpenIsWaitedForAllTheSame() {
        fixture->browser = [](const QUrl&) { return false; };
        const auto url = beginSignIn();
        fixture->clock.advance(24h * 7); // there is no time limit
        drainEvents();
        QVERIFY(fixture->auth.state->isSigningIn());
        browser->comeBack(url);
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
    }

    void signingOutAtOnceOpensNoPage() {
        fixture->auth.signIn();
        fixture->auth.signOut();
        drainEvents();
        QVERIFY(fixture->opened.isEmpty());
        QVERIFY(fixture->auth.state->isSignedOut());
        QVERIFY(occupy(firstPort)->isListening());
    }

    void signingOutDuringASignInFreesThePortAndEndsIt() {
        const auto url = beginSignIn();
        fixture->auth.signOut();
        QVERIFY(fixture->auth.state->isSignedOut());
        browser->comeBack(url);
        QVERIFY(waitUntil([&] { return browser->isDone(); }));
        QVERIFY(browser->wasRefused());
        drainEvents();
        QVERIFY(fixture->auth.state->isSignedOut());
        QVERIFY(!fixture->auth.lastAuthError->has_value());
        const auto next = beginSignIn();
        QCOMPARE(AuthorizationRequest(next).port(), firstPort);
        browser->comeBack(next);
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
    }

    void signingOutDuringTheExchangeBringsNoSession() {
        const Gate gate;
        fixture->identity.answer(tokenTarget,
                                 Answer::http(200, tokenBody(robin, 300, "refresh-1")).behind(gate));
        browser->comeBack(beginSignIn());
        QVERIFY(waitUntil([&] { return fixture->identity.count() == 1; }));
        fixture->auth.signOut();
        gate.open();
        QVERIFY(waitUntil([&] { return fixture->identity.openConnections() == 0; }));
        await(fixture->secrets.get(u"oidc_refresh"_s));
        QVERIFY(fixture->auth.state->isSignedOut());
        QCOMPARE(storedRefreshToken(), std::nullopt);
        QCOMPARE(storedEmail(), std::nullopt);
    }

    void theManagerMayGoDuringASignIn() {
        beginSignIn();
        fixture.reset();
        QVERIFY(occupy(firstPort)->isListening());
    }

    void aSignInNeverBlocksTheLoop() {
        LoopStallProbe probe;
        const auto url = beginSignIn();
        browser->comeBack(url);
        QVERIFY(waitUntil([&] { return fixture->auth.isSignedIn(); }));
        QVERIFY2(probe.longestStall() < LoopStallProbe::budget,
                 qPrintable(QString::number(probe.longestStall().count())));
    }

private:
    static std::unique_ptr<QTcpSocket> connectionTo(quint16 port) {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QHostAddress::LocalHost, port);
        if (!waitUntil([&] { return socket->state() == QAbstractSocket::ConnectedState; })) {
            qFatal("no connection");
        }
        return socket;
    }

    /// The page that the browser is asked to open.
    QUrl beginSignIn() {
        const auto before = fixture->opened.size();
        fixture->auth.signIn();
        if (!waitUntil([&] { return fixture->opened.size() > before; })) {
            qFatal("no page was opened: %s", qPrintable(fixture->auth.lastAuthError->value_or(QString())));
        }
        return fixture->opened.constLast();
    }

    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<TurnAtFixedPorts> turn;
    std::unique_ptr<ScriptedBrowser> browser;
    std::unique_ptr<AuthFixture> fixture;
};

QTEST_GUILESS_MAIN(AuthManagerSignInTest)
#include "AuthManagerSignInTest.moc"
