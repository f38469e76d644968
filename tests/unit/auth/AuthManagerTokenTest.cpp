#include "auth/AuthError.h"
#include "auth/AuthFixture.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/TestCertificates.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto expired = u"Session expired — sign in again"_s;
const auto notSignedIn = u"Not signed in"_s;

/// The text of the error that the task ends with; empty when it ends well.
QString failureOf(Task<QString> task) {
    try {
        await(std::move(task));
    } catch (const AuthError& error) {
        return error.errorDescription();
    }
    return {};
}

} // namespace

/// Tokens and their renewal against a scripted token endpoint.
class AuthManagerTokenTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { keyring.start(); }
    void init() { fixture = std::make_unique<AuthFixture>(); }
    void cleanup() { fixture.reset(); }

    void aNewManagerIsSignedOut() {
        QVERIFY(fixture->auth.state->isSignedOut());
        QVERIFY(!fixture->auth.isSignedIn());
        QVERIFY(!fixture->auth.lastAuthError->has_value());
    }

    void aStoredSessionIsTakenUpWithoutARequest_data() {
        QTest::addColumn<QString>("email");
        QTest::addColumn<QString>("shown");
        QTest::newRow("with an e-mail") << u"robin@quillo.example"_s << u"robin@quillo.example"_s;
        QTest::newRow("without one") << QString() << u"account"_s;
    }
    void aStoredSessionIsTakenUpWithoutARequest() {
        QFETCH(QString, email);
        QFETCH(QString, shown);
        keepSession(email);
        await(fixture->auth.restore());
        QVERIFY(fixture->auth.isSignedIn());
        QCOMPARE(fixture->auth.state->email(), shown);
        QCOMPARE(fixture->identity.count(), 0);
    }

    void withoutAStoredSessionTheUserIsSignedOut() {
        await(fixture->auth.restore());
        QVERIFY(fixture->auth.state->isSignedOut());
    }

    void signingOutWhileTheSessionIsTakenUpHolds() {
        keepSession();
        auto restoring = fixture->auth.restore();
        fixture->auth.signOut();
        await(std::move(restoring));
        QVERIFY(fixture->auth.state->isSignedOut());
    }

    void aTokenIsFetchedWithTheStoredRefreshToken() {
        keepSession();
        QCOMPARE(await(fixture->auth.validAccessToken()), u"access-1"_s);
        const auto request = fixture->identity.requests(tokenTarget).at(0);
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.values("Content-Type"), QList<QByteArray>{"application/x-www-form-urlencoded"});
        QCOMPARE(formOf(request), (QMap<QByteArray, QString>{{"grant_type", u"refresh_token"_s},
                                                             {"refresh_token", u"refresh-1"_s},
                                                             {"client_id", u"quillo-mac"_s}}));
        // Everything but letters and digits is escaped in values, and nothing in keys.
        QVERIFY(request.body.contains("grant_type=refresh%5Ftoken"));
        QVERIFY(request.body.contains("refresh_token=refresh%2D1"));
        QVERIFY(request.body.contains("client_id=quillo%2Dmac"));
    }

    void aTokenIsReusedUntilThirtySecondsBeforeItsEnd_data() {
        QTest::addColumn<double>("expiresIn");
        QTest::addColumn<int>("requests");
        QTest::newRow("31 s are enough") << 31.0 << 1;
        QTest::newRow("a moment more than 30 s is enough") << 30.001 << 1;
        QTest::newRow("30 s are not") << 30.0 << 2;
        QTest::newRow("none at all") << 0.0 << 2;
        QTest::newRow("already over") << -1e300 << 2;
        QTest::newRow("for ever") << 1e300 << 1;
    }
    void aTokenIsReusedUntilThirtySecondsBeforeItsEnd() {
        QFETCH(double, expiresIn);
        QFETCH(int, requests);
        keepSession();
        fixture->identity.answerInTurn(tokenTarget, {Answer::http(200, tokenBody("access-1", expiresIn)),
                                                     Answer::http(200, tokenBody("access-2"))});
        QCOMPARE(await(fixture->auth.validAccessToken()), u"access-1"_s);
        const auto second = await(fixture->auth.validAccessToken());
        QCOMPARE(second, requests == 1 ? u"access-1"_s : u"access-2"_s);
        QCOMPARE(fixture->identity.count(), requests);
    }

    void aTokenGrowsOldWithTheClock() {
        keepSession();
        fixture->identity.answer(tokenTarget, Answer::http(200, tokenBody("access-1", 300)));
        await(fixture->auth.validAccessToken());
        fixture->clock.advance(269s);
        await(fixture->auth.validAccessToken());
        QCOMPARE(fixture->identity.count(), 1);
        fixture->clock.advance(1s);
        await(fixture->auth.validAccessToken());
        QCOMPARE(fixture->identity.count(), 2);
    }

    void aTokenDoesNotGrowOldWhenSomebodySetsTheComputersClock() {
        keepSession();
        fixture->identity.answer(tokenTarget, Answer::http(200, tokenBody("access-1", 300)));
        await(fixture->auth.validAccessToken());
        for (const auto change : {24h, -48h}) {
            fixture->clock.setWallClockForward(change);
            await(fixture->auth.validAccessToken());
        }
        QCOMPARE(fixture->identity.count(), 1);
    }

    void anAnswerWithoutARefreshTokenKeepsTheStoredOne() {
        keepSession();
        await(fixture->auth.validAccessToken());
        await(fixture->secrets.get(u"oidc_refresh"_s));
        QCOMPARE(storedRefreshToken(), std::optional(u"refresh-1"_s));
    }

    void aNewRefreshTokenReplacesTheStoredOne() {
        keepSession();
        fixture->identity.answerInTurn(tokenTarget, {Answer::http(200, tokenBody("access-1", 0, "refresh-2")),
                                                     Answer::http(200, tokenBody("access-2"))});
        await(fixture->auth.validAccessToken());
        await(fixture->auth.validAccessToken());
        QCOMPARE(formOf(fixture->identity.requests(tokenTarget).at(1)).value("refresh_token"),
                 u"refresh-2"_s);
        QCOMPARE(storedRefreshToken(), std::optional(u"refresh-2"_s));
    }

    void aRotatedRefreshTokenThatTheKeyringCouldNotStoreIsSentNextTimeAndStoredLater() {
        keepSession();
        const Gate gate;
        fixture->identity.answerInTurn(tokenTarget,
                                       {Answer::http(200, tokenBody("access-1", 0, "refresh-2")).behind(gate),
                                        Answer::http(200, tokenBody("access-2"))});
        auto first = fixture->auth.validAccessToken();
        QVERIFY(waitUntil([&] { return fixture->identity.count() == 1; }));
        keyring.lock();
        gate.open();
        QCOMPARE(await(std::move(first)), u"access-1"_s);
        QCOMPARE(await(fixture->auth.validAccessToken()), u"access-2"_s);
        QCOMPARE(formOf(fixture->identity.requests(tokenTarget).at(1)).value("refresh_token"),
                 u"refresh-2"_s);
        keyring.unlock();
        QVERIFY(waitUntil([&] { return storedRefreshToken() == u"refresh-2"_s; }));
    }

    void aRefreshTokenThatWasNotStoredIsForgottenWithTheSession() {
        keepSession();
        const Gate gate;
        fixture->identity.answer(tokenTarget,
                                 Answer::http(200, tokenBody("access-1", 0, "refresh-2")).behind(gate));
        auto first = fixture->auth.validAccessToken();
        QVERIFY(waitUntil([&] { return fixture->identity.count() == 1; }));
        keyring.lock();
        gate.open();
        await(std::move(first));
        fixture->auth.signOut();
        QCOMPARE(failureOf(fixture->auth.validAccessToken()), notSignedIn);
        keyring.unlock();
        await(fixture->auth.restore());
        QVERIFY(fixture->auth.state->isSignedOut());
    }

    void everyFailureOfARenewalEndsTheSession_data() {
        QTest::addColumn<Answer>("answer");
        QTest::newRow("rejected") << Answer::http(400, R"({"error":"invalid_grant"})");
        QTest::newRow("unauthorised") << Answer::http(401);
        QTest::newRow("server error") << Answer::http(503);
        QTest::newRow("redirect") << Answer::http(302, {}, {"Location: /elsewhere"});
        QTest::newRow("no JSON") << Answer::http(200, "<html>");
        QTest::newRow("empty") << Answer::http(204);
        QTest::newRow("no access token") << Answer::http(200, R"({"expires_in":300})");
        QTest::newRow("expiry as text") << Answer::http(200, R"({"access_token":"a","expires_in":"300"})");
        QTest::newRow("connection closed") << Answer::andClose({});
        QTest::newRow("cut short") << Answer::andClose("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{");
    }
    void everyFailureOfARenewalEndsTheSession() {
        QFETCH(Answer, answer);
        fixture->identity.answer(tokenTarget, answer);
        keepSession();
        await(fixture->auth.restore());
        expectSessionEnds();
        QCOMPARE(fixture->identity.count(), 1);
    }

    void aProviderOutOfReachEndsTheSession() {
        keepSession();
        await(fixture->auth.restore());
        fixture->identity.goDown();
        expectSessionEnds();
    }

    void aRenewalThatTimesOutEndsTheSession() {
        fixture = std::make_unique<AuthFixture>(50ms);
        fixture->identity.answer(tokenTarget, Answer::silence());
        keepSession();
        await(fixture->auth.restore());
        expectSessionEnds();
        QCOMPARE(fixture->identity.count(), 1);
    }

    void theProvidersCertificateIsAlwaysChecked() {
        keepSession();
        const TestCertificates certificates;
        RoutedServer provider(certificates.selfSigned());
        provider.answer(tokenTarget, Answer::http(200, tokenBody("access-1")));
        AuthManager auth(fixture->clock, fixture->secrets, fixture->session, fixture->workspace,
                         provider.origin());
        await(auth.restore());
        QVERIFY(auth.isSignedIn());
        QVERIFY_THROWS_EXCEPTION(AuthError, await(auth.validAccessToken()));
        QCOMPARE(provider.count(), 0);
    }

    void theErrorOfARenewalIsNotASignInFailure() {
        fixture->identity.answer(tokenTarget, Answer::http(400));
        keepSession();
        await(fixture->auth.restore());
        fixture->auth.lastAuthError = u"before"_s;
        expectSessionEnds();
        QCOMPARE(*fixture->auth.lastAuthError, std::optional(u"before"_s));
    }

    void withoutARefreshTokenNobodyIsSignedIn() {
        QCOMPARE(failureOf(fixture->auth.validAccessToken()), notSignedIn);
        QCOMPARE(fixture->identity.count(), 0);
    }

    void aLockedStoreSignsNobodyOut() {
        keepSession();
        await(fixture->auth.restore());
        keyring.lock();
        QCOMPARE(failureOf(fixture->auth.validAccessToken()), notSignedIn);
        QVERIFY(fixture->auth.isSignedIn());
        QCOMPARE(fixture->identity.count(), 0);
        keyring.unlock();
        QCOMPARE(await(fixture->auth.validAccessToken()), u"access-1"_s);
    }

    void aTokenInMemoryIsGoodWhileTheStoreIsLocked() {
        keepSession();
        await(fixture->auth.validAccessToken());
        keyring.lock();
        const auto token = await(fixture->auth.validAccessToken());
        keyring.unlock();
        QCOMPARE(token, u"access-1"_s);
    }

    void twoCallersThatFindTheTokenStaleBothRenewIt() {
        keepSession();
        const Gate gate;
        fixture->identity.answerInTurn(tokenTarget, {Answer::http(200, tokenBody("access-1")).behind(gate),
                                                     Answer::http(200, tokenBody("access-2")).behind(gate)});
        auto first = fixture->auth.validAccessToken();
        auto second = fixture->auth.validAccessToken();
        QVERIFY(waitUntil([&] { return fixture->identity.count() == 2; }));
        gate.open();
        const auto one = await(std::move(first));
        const auto other = await(std::move(second));
        QVERIFY(one.startsWith(u"access-"_s));
        QVERIFY(other.startsWith(u"access-"_s));
        await(fixture->auth.validAccessToken());
        QCOMPARE(fixture->identity.count(), 2);
    }

    void twoRenewalsThatFailEndTheSessionForBothCallers() {
        keepSession();
        await(fixture->auth.restore());
        const Gate gate;
        fixture->identity.answer(tokenTarget, Answer::http(400).behind(gate));
        auto first = fixture->auth.validAccessToken();
        auto second = fixture->auth.validAccessToken();
        QVERIFY(waitUntil([&] { return fixture->identity.count() == 2; }));
        gate.open();
        QCOMPARE(failureOf(std::move(first)), expired);
        QCOMPARE(failureOf(std::move(second)), expired);
        QVERIFY(fixture->auth.state->isSignedOut());
    }

    void signingOutForgetsEverythingButTheLastError() {
        keepSession();
        await(fixture->auth.restore());
        await(fixture->auth.validAccessToken());
        fixture->auth.lastAuthError = u"before"_s;
        fixture->auth.signOut();
        QVERIFY(fixture->auth.state->isSignedOut());
        QCOMPARE(*fixture->auth.lastAuthError, std::optional(u"before"_s));
        QCOMPARE(failureOf(fixture->auth.validAccessToken()), notSignedIn); // not the one in memory
        QCOMPARE(storedRefreshToken(), std::nullopt);
        QCOMPARE(storedEmail(), std::nullopt);
    }

    void aRenewalThatEndsAfterTheSignOutBringsNoSessionBack() {
        keepSession();
        await(fixture->auth.restore());
        const Gate gate;
        fixture->identity.answer(tokenTarget,
                                 Answer::http(200, tokenBody("access-1", 300, "refresh-2")).behind(gate));
        auto renewing = fixture->auth.validAccessToken();
        QVERIFY(waitUntil([&] { return fixture->identity.count() == 1; }));
        fixture->auth.signOut();
        gate.open();
        QCOMPARE(failureOf(std::move(renewing)), expired);
        QVERIFY(fixture->auth.state->isSignedOut());
        QCOMPARE(failureOf(fixture->auth.validAccessToken()), notSignedIn); // after the deletions
        QCOMPARE(storedRefreshToken(), std::nullopt);
        QCOMPARE(fixture->identity.count(), 1);
    }

    void aRenewalThatWaitsForTheStoreAtTheSignOutIsNotSent() {
        keepSession();
        await(fixture->auth.restore());
        auto renewing = fixture->auth.validAccessToken();
        fixture->auth.signOut();
        QCOMPARE(failureOf(std::move(renewing)), notSignedIn);
        await(fixture->secrets.get(u"oidc_refresh"_s)); // after the deletions
        QCOMPARE(storedRefreshToken(), std::nullopt);
        QCOMPARE(fixture->identity.count(), 0);
    }

    void aRenewalOfAnEarlierSessionDoesNotEndTheNextOne() {
        keepSession();
        await(fixture->auth.restore());
        const Gate gate;
        fixture->identity.answerInTurn(
            tokenTarget, {Answer::http(400).behind(gate), Answer::http(200, tokenBody("access-2"))});
        auto renewing = fixture->auth.validAccessToken();
        QVERIFY(waitUntil([&] { return fixture->identity.count() == 1; }));
        fixture->auth.signOut();
        await(fixture->secrets.set(u"oidc_refresh"_s, u"refresh-3"_s));
        QCOMPARE(await(fixture->auth.validAccessToken()), u"access-2"_s);
        await(fixture->auth.restore());
        QVERIFY(fixture->auth.isSignedIn());
        gate.open();
        QCOMPARE(failureOf(std::move(renewing)), expired);
        QVERIFY(fixture->auth.isSignedIn());
        QCOMPARE(await(fixture->auth.validAccessToken()), u"access-2"_s);
    }

private:
    void expectSessionEnds() {
        QCOMPARE(failureOf(fixture->auth.validAccessToken()), expired);
        QVERIFY(fixture->auth.state->isSignedOut());
        await(fixture->secrets.get(u"oidc_refresh"_s)); // after the deletions
        QCOMPARE(storedRefreshToken(), std::nullopt);
        QCOMPARE(storedEmail(), std::nullopt);
        QCOMPARE(failureOf(fixture->auth.validAccessToken()), notSignedIn);
    }

    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<AuthFixture> fixture;
};

QTEST_GUILESS_MAIN(AuthManagerTokenTest)
#include "AuthManagerTokenTest.moc"
