#include "auth/AuthError.h"
#include "auth/AuthFixture.h"
#include "net/APIClient.h"
#include "platform/secrets/Keychain.h"
#include "support/ChildProcess.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/Wait.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

QStringList freePortsAndNoFiles() {
    return {QStringLiteral(QUILLO_SANDBOX),
            u"--die-with-stdin"_s,
            u"--http-port"_s,
            u"0"_s,
            u"--https-port"_s,
            u"0"_s,
            u"--identity-port"_s,
            u"0"_s};
}

/// The identity provider and backend for trying out: software that implements OpenID Connect and that nobody
/// here wrote.
class Sandbox {
public:
    Sandbox() : facts(QJsonDocument::fromJson(server.readLine(60s)).object()) {
        if (identity().isEmpty()) {
            qFatal("the sandbox did not start; scripts/setup --test installs what it needs");
        }
    }

    [[nodiscard]] QString identity() const { return facts[u"identity"_s].toString(); }
    [[nodiscard]] QString backend() const { return facts[u"http"_s].toString(); }
    [[nodiscard]] QString email() const { return facts[u"email"_s].toString(); }

    /// What the sandbox answers to these wishes.
    QJsonObject scenario(const QJsonObject& wishes) {
        HTTPRequest request;
        request.method = HTTPMethod::post;
        request.url = QUrl(backend() + u"/sandbox/scenario"_s);
        request.idleTimeout = 20s;
        request.setHeader("Content-Type", "application/json");
        request.body = QJsonDocument(wishes).toJson(QJsonDocument::Compact);
        const auto response = await(session.send(std::move(request)));
        if (response.status != 200) {
            qFatal("scenario: %s", response.body.constData());
        }
        return QJsonDocument::fromJson(response.body).object();
    }

    /// A refresh token as a sign-in would have given.
    QString issueRefreshToken() {
        const auto answer = scenario({{u"issueTokensFor"_s, email()}});
        return answer[u"issued"_s].toObject()[u"refreshToken"_s].toString();
    }

private:
    ChildProcess server{u"node"_s, freePortsAndNoFiles()};
    QJsonObject facts;
    HTTPSession session;
};

} // namespace

/// The token's life against a certified OpenID provider, with rotating refresh tokens.
class AuthManagerProviderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        keyring.start();
        sandbox = std::make_unique<Sandbox>();
    }
    void init() {
        clearSecrets();
        auth = std::make_unique<AuthManager>(clock, secrets, session, workspace, sandbox->identity());
        issued = sandbox->issueRefreshToken();
        QVERIFY(Keychain::set(u"oidc_refresh"_s, issued));
        await(auth->restore());
        QVERIFY(auth->isSignedIn());
    }

    void aRenewalRotatesTheRefreshTokenAndItsTokenOpensTheBackend() {
        const auto first = await(auth->validAccessToken());
        APIClient client(session);
        const auto ledger = await(client.timeline(sandbox->backend(), APIAuth::bearer(first), true));
        QVERIFY(!ledger->transactions.empty());
        await(secrets.get(u"oidc_refresh"_s)); // after what was to be stored
        const auto rotated = storedRefreshToken();
        QVERIFY(rotated.has_value());
        QVERIFY(*rotated != issued);
        clock.advance(24h);
        const auto second = await(auth->validAccessToken());
        QVERIFY(second != first);
        QVERIFY(auth->isSignedIn());
        await(secrets.get(u"oidc_refresh"_s));
        QVERIFY(storedRefreshToken() != rotated);
    }

    void aRevokedFamilyEndsTheSession() {
        await(auth->validAccessToken());
        sandbox->scenario({{u"revokeRefreshTokens"_s, true}});
        clock.advance(24h);
        expectSessionEnds();
    }

    void aRefreshTokenThatWasUsedBeforeEndsTheSession() {
        await(auth->validAccessToken());
        await(secrets.set(u"oidc_refresh"_s, issued)); // the old one, as another machine might send it
        clock.advance(24h);
        expectSessionEnds();
    }

    void aProviderThatIsDownEndsTheSession() {
        sandbox->scenario({{u"identity"_s, QJsonObject{{u"down"_s, true}}}});
        expectSessionEnds();
        sandbox->scenario({{u"identity"_s, QJsonObject{{u"down"_s, QJsonValue()}}}});
    }

private:
    void expectSessionEnds() {
        QVERIFY_THROWS_EXCEPTION(AuthError, static_cast<void>(await(auth->validAccessToken())));
        QVERIFY(auth->state->isSignedOut());
        await(secrets.get(u"oidc_refresh"_s));
        QCOMPARE(storedRefreshToken(), std::nullopt);
    }

    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<Sandbox> sandbox;
    ManualClock clock;
    Workspace workspace{[](const QUrl&) { return false; }};
    SecretStore secrets;
    HTTPSession session;
    std::unique_ptr<AuthManager> auth;
    QString issued;
};

QTEST_GUILESS_MAIN(AuthManagerProviderTest)
#include "AuthManagerProviderTest.moc"
