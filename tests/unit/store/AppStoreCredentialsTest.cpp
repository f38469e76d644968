#include "platform/secrets/Keychain.h"
#include "store/StoreFixture.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/ScriptedPrompter.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto signInFirst = u"Sign in to Quillo (menu → Sign In…)"_s;

} // namespace

/// How the store comes by its authorisation, at start and later.
class AppStoreCredentialsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        if (!keyring.isRunning()) {
            keyring.start();
        }
        fixture = std::make_unique<StoreFixture>();
    }
    void cleanup() {
        fixture.reset();
        prompter.reset();
    }

    void withoutCredentialsTheUserIsAskedToSignIn() {
        auto& store = fixture->start();
        int loading = 0;
        const auto observation =
            store.isLoading.observe(Published<bool>::Repeats::deliver, [&](bool) { ++loading; });
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(signInFirst));
        using Operation = Task<> (AppStore::*)();
        for (const Operation operation :
             {&AppStore::refresh, &AppStore::syncNow, &AppStore::refreshFromBank, &AppStore::loadSnapshots}) {
            store.lastError = std::nullopt;
            await((store.*operation)());
            QCOMPARE(*store.lastError, std::optional(signInFirst));
        }
        QCOMPARE(loading, 0);
        QCOMPARE(fixture->backend.count(), 0);
        QCOMPARE(fixture->identity.count(), 0);
    }

    void anEmptyApiKeyIsNone() {
        Keychain::set(u"api_key"_s, QString());
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(signInFirst));
        QCOMPARE(fixture->backend.count(), 0);
    }

    void anApiKeyOfBlanksIsSentAsItIs() {
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        store.settings.apiKey = u" "_s;
        await(store.refresh());
        const auto request = fixture->backend.requests(target::status).at(0).raw;
        QVERIFY2(request.toLower().contains("\r\nx-api-key:  \r\n"), request.constData());
    }

    void aSignInTakesPrecedenceOverAnApiKey() {
        keepSession();
        fixture->keepApiKey();
        fixture->start();
        fixture->waitUntilSettled();
        const auto request = fixture->backend.requests(target::timeline).at(0);
        QCOMPARE(request.values("Authorization"), QList<QByteArray>{"Bearer access-1"});
        QVERIFY(request.values("X-API-Key").isEmpty());
    }

    void aRenewalThatFailsFallsBackToTheApiKeyWithoutAnError() {
        fixture->identity.answer(tokenTarget, Answer::http(400, "invalid_grant"));
        keepSession();
        fixture->keepApiKey();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QVERIFY(store.timeline.get());
        QVERIFY(!store.lastError->has_value());
        QCOMPARE(fixture->backend.requests(target::status).at(0).values("X-API-Key"),
                 QList<QByteArray>{StoreFixture::apiKey});
        QVERIFY(!store.auth.isSignedIn());
    }

    void aRenewalThatFailsWithoutAnApiKeyAsksToSignIn() {
        fixture->identity.answer(tokenTarget, Answer::http(400, "invalid_grant"));
        keepSession();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(signInFirst));
        QCOMPARE(fixture->backend.count(), 0);
    }

    void changesOfTheSignInAreAnnouncedAsTheStoresOwn() {
        auto& store = fixture->startRefreshed();
        int announced = 0;
        QList<bool> seen;
        const auto observation = store.objectWillChange.observe([&] {
            ++announced;
            seen.append(store.auth.isSignedIn());
        });
        store.auth.lastAuthError = u"no"_s;
        QCOMPARE(announced, 1);
        store.auth.state = AuthState::signingIn();
        QCOMPARE(announced, 2);
        store.auth.state = AuthState::signedOut();
        QCOMPARE(seen, (QList<bool>{false, false, false}));
    }

    void settingsAreNotAnnouncedAsTheStoresOwn() {
        auto& store = fixture->startRefreshed();
        int announced = 0;
        const auto observation = store.objectWillChange.observe([&] { ++announced; });
        bool isWritten = false;
        const auto writing = fixture->defaults.tried.observe([&] { isWritten = true; });
        store.settings.refreshInterval = 60;
        QVERIFY(waitUntil([&] { return isWritten; }));
        QCOMPARE(announced, 0);
    }

    void signingInRefreshesOncePerTransition() {
        Keychain::set(u"oidc_email"_s, u"robin@quillo.example"_s);
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QCOMPARE(fixture->refreshes(), 0);
        await(fixture->secrets.set(u"oidc_refresh"_s, u"refresh-1"_s));
        store.auth.state = AuthState::signingIn();
        drainEvents();
        QCOMPARE(fixture->refreshes(), 0);
        store.auth.state = AuthState::signedIn(u"robin@quillo.example"_s);
        QVERIFY(!store.isLoading); // not inside the announcement, where the old state still holds
        store.auth.state = AuthState::signedIn(u"robin@quillo.example"_s);
        QVERIFY(waitUntil([&] { return store.timeline.get() && !store.isLoading; }));
        drainEvents();
        QCOMPARE(fixture->refreshes(), 1);
        QVERIFY(!store.lastError->has_value()); // the message from the start has gone with it
        store.auth.state = AuthState::signingIn();
        store.auth.state = AuthState::signedIn(u"robin@quillo.example"_s);
        QVERIFY(waitUntil([&] { return fixture->refreshes() == 2; }));
    }

    void signingOutDoesNotRefresh() {
        keepSession();
        fixture->keepApiKey();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        store.auth.signOut();
        await(fixture->secrets.get(u"oidc_refresh"_s));
        drainEvents();
        QVERIFY(!store.isLoading);
        QCOMPARE(fixture->refreshes(), 1);
    }

    void aNewApiKeyDoesNotRefreshByItself() {
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        store.settings.apiKey = u"key-1"_s;
        drainEvents();
        QCOMPARE(fixture->refreshes(), 0);
        QCOMPARE(*store.lastError, std::optional(signInFirst));
    }

    void aLockedKeyringIsWaitedForWithoutSigningAnybodyOut() {
        keepSession();
        keyring.lock();
        showPrompts();
        auto& store = fixture->start();
        QVERIFY(waitUntil([&] { return prompter->isUp(); }));
        fixture->clock.advance(1h);
        for (const auto name : {notification::workspaceDidWake, notification::applicationDidBecomeActive,
                                notification::menuDidBeginTracking}) {
            fixture->notifications.post(name);
        }
        drainEvents();
        QVERIFY(!store.timeline.get());
        QVERIFY(!store.lastError->has_value()); // the label says that it is loading
        QVERIFY(!store.isLoading);
        QCOMPARE(fixture->backend.count(), 0);
        keyring.unlock();
        QVERIFY(waitUntil([&] { return store.timeline.get() && !store.isLoading; }));
        QVERIFY(store.auth.isSignedIn());
        QCOMPARE(store.auth.state->email(), u"robin@quillo.example"_s);
        drainEvents();
        QCOMPARE(fixture->refreshes(), 1);
        QCOMPARE(Keychain::get(u"oidc_refresh"_s), std::optional(u"refresh-1"_s));
        QCOMPARE(prompter->shown(), 1);
    }

    void aKeyringThatIsUnlockedAfterTheUserRefusedIsTakenUp_data() {
        QTest::addColumn<bool>("session");
        QTest::newRow("API key") << false;
        QTest::newRow("session") << true;
    }
    void aKeyringThatIsUnlockedAfterTheUserRefusedIsTakenUp() {
        QFETCH(bool, session);
        session ? keepSession() : fixture->keepApiKey();
        keyring.lock();
        showPrompts();
        prompter->refuse();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(signInFirst));
        QCOMPARE(fixture->backend.count(), 0);
        keyring.unlock();
        QVERIFY(waitUntil([&] { return store.timeline.get() && !store.isLoading; }));
        QVERIFY(!store.lastError->has_value());
        QCOMPARE(store.auth.isSignedIn(), session);
        drainEvents();
        QCOMPARE(fixture->refreshes(), 1);
    }

    void aSignOutWhileTheKeyringIsLockedHoldsWhenItIsUnlocked() {
        keepSession();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QVERIFY(store.auth.isSignedIn());
        keyring.lock();
        showPrompts();
        prompter->refuse();
        store.auth.signOut();
        QVERIFY(waitUntil([&] { return prompter->shown() > 0; }));
        keyring.unlock();
        // The session goes from the store as soon as it can be reached.
        QVERIFY(
            waitUntil([&] { return !Keychain::get(u"oidc_refresh"_s) && !Keychain::get(u"oidc_email"_s); }));
        drainEvents();
        QVERIFY(!store.auth.isSignedIn());
        QCOMPARE(fixture->identity.count(), 1);
    }

    void aKeyringThatIsLockedWhileTheTokenRunsOutSignsNobodyOut() {
        keepSession();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        keyring.lock();
        fixture->clock.advance(300s); // the heartbeat finds the token stale
        QVERIFY(waitUntil([&] { return store.lastError->has_value(); }));
        QCOMPARE(*store.lastError, std::optional(signInFirst));
        QVERIFY(store.auth.isSignedIn());
        QVERIFY(store.timeline.get());
        keyring.unlock();
        fixture->notifications.post(notification::menuDidBeginTracking);
        QVERIFY(waitUntil([&] { return !store.lastError->has_value() && !store.isLoading; }));
        QCOMPARE(fixture->identity.count(), 2);
        QVERIFY(store.auth.isSignedIn());
    }

    void aSignInWhileTheKeyringPromptIsUpRefreshesByTheClock() {
        keyring.lock();
        showPrompts();
        auto& store = fixture->start();
        QVERIFY(waitUntil([&] { return prompter->isUp(); }));
        store.settings.apiKey = u"typed"_s;
        fixture->clock.advance(30s);
        QVERIFY(waitUntil([&] { return store.timeline.get() && !store.isLoading; }));
        fixture->clock.advance(300s);
        QVERIFY(waitUntil([&] { return fixture->refreshes() == 2 && !store.isLoading; }));
        keyring.unlock();
    }

    void aKeyringThatIsUnlockedAgainDoesNotRefreshWithoutAnInterval() {
        fixture->defaults.setInteger(u"refreshInterval"_s, 0);
        auto& store = fixture->startRefreshed();
        keyring.lock();
        QCOMPARE(await(fixture->secrets.get(u"oidc_refresh"_s)).isUnavailable(), true);
        bool isAvailable = false;
        const auto observation = fixture->secrets.becameAvailable.observe([&] { isAvailable = true; });
        keyring.unlock();
        QVERIFY(waitUntil([&] { return isAvailable; }));
        await(fixture->secrets.get(u"oidc_refresh"_s));
        drainEvents();
        QVERIFY(!store.isLoading);
        QCOMPARE(fixture->refreshes(), 1);
    }

    void aKeyringThatComesUpLateIsTakenUp() {
        fixture->keepApiKey();
        keyring.stop();
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(signInFirst));
        keyring.start();
        QVERIFY(waitUntil([&] { return store.timeline.get() && !store.isLoading; }));
        QCOMPARE(fixture->refreshes(), 1);
    }

private:
    void showPrompts() { prompter = std::make_unique<ScriptedPrompter>(bus.connect()); }

    PrivateBus bus;
    PrivateKeyring keyring{bus};
    std::unique_ptr<ScriptedPrompter> prompter;
    std::unique_ptr<StoreFixture> fixture;
};

QUILLO_TEST(AppStoreCredentialsTest, QCoreApplication)
#include "AppStoreCredentialsTest.moc"
