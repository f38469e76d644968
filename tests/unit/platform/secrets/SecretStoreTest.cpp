#include "platform/secrets/SecretStore.h"

#include "platform/secrets/Keychain.h"
#include "support/LoopStallProbe.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/ScriptedPrompter.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QElapsedTimer>
#include <QTest>

#include <memory>
#include <optional>
#include <tuple>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto account = u"oidc_refresh"_s;
const auto stored = SecretReading::found(u"stored"_s);

} // namespace

class SecretStoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        keyring = std::make_unique<PrivateKeyring>(bus);
        keyring->start();
        Keychain::set(account, u"stored"_s);
        store = std::make_unique<SecretStore>();
        probe = std::make_unique<LoopStallProbe>();
    }

    void cleanup() {
        probe.reset();
        store.reset();
        prompter.reset();
        keyring.reset();
    }

    void readsChangesAndDeletes() {
        QCOMPARE(await(store->get(account)), stored);
        QVERIFY(await(store->set(account, u"new"_s)));
        QCOMPARE(await(store->get(account)), SecretReading::found(u"new"_s));
        QVERIFY(await(store->delete_(account)));
        QVERIFY(!await(store->delete_(account)));
        QVERIFY(await(store->get(account)) == SecretReading::absent());
        QVERIFY(probe->longestStall() < LoopStallProbe::budget);
    }

    void operationsTakeEffectInTheOrderGiven() {
        auto before = store->get(account);
        std::ignore = store->delete_(account);
        auto deleted = store->get(account);
        std::ignore = store->set(account, u"one"_s);
        std::ignore = store->set(account, u"two"_s);
        auto after = store->get(account);
        QVERIFY(await(std::move(after)) == SecretReading::found(u"two"_s));
        QCOMPARE(before.takeResult(), stored);
        QVERIFY(deleted.takeResult() == SecretReading::absent());
        QVERIFY(probe->longestStall() < LoopStallProbe::budget);
    }

    void droppingATaskDoesNotTakeTheChangeBack() {
        { const auto dropped = store->set(account, u"kept"_s); }
        QCOMPARE(await(store->get(account)), SecretReading::found(u"kept"_s));
    }

    void changesGivenJustBeforeTheEndAreMade() {
        for (int number = 0; number < 20; ++number) {
            std::ignore = store->set(u"account-%1"_s.arg(number), u"value"_s);
        }
        store.reset();
        for (int number = 0; number < 20; ++number) {
            QCOMPARE(Keychain::get(u"account-%1"_s.arg(number)), std::optional(u"value"_s));
        }
    }

    void tasksThatStillWaitAtTheEndGetAnAnswer() {
        auto reading = store->get(account);
        auto change = store->set(account, u"new"_s);
        auto unlocking = store->unlock();
        store.reset();
        QVERIFY(await(std::move(reading)).isUnavailable());
        QVERIFY(!await(std::move(unlocking)));
        await(std::move(change));
        QCOMPARE(Keychain::get(account), std::optional(u"new"_s));
    }

    void anOpenStoreIsAvailableWithoutAPrompt() {
        int became = 0;
        const auto observation = store->becameAvailable.observe([&] { ++became; });
        showPrompts();
        QVERIFY(await(store->unlock()));
        QCOMPARE(prompter->shown(), 0);
        QCOMPARE(became, 0);
    }

    void aLockedStoreIsNotAnEmptyOneAndTellsWhenItIsUnlockedElsewhere() {
        int became = 0;
        const auto observation = store->becameAvailable.observe([&] { ++became; });
        keyring->lock();
        QVERIFY(await(store->get(account)).isUnavailable());
        QCOMPARE(became, 0);
        keyring->unlock();
        QVERIFY(waitUntil([&] { return became == 1; }));
        QCOMPARE(await(store->get(account)), stored);
        QCOMPARE(became, 1);
    }

    void lookUpsNeverPutUpAPrompt() {
        keyring->lock();
        showPrompts();
        QVERIFY(await(store->get(account)).isUnavailable());
        QCOMPARE(prompter->shown(), 0);
    }

    void aLockedStoreWithNobodyToPromptStaysLockedAndChangesFail() {
        keyring->lock();
        QVERIFY(!await(store->unlock()));
        QVERIFY(!await(store->set(account, u"lost"_s)));
        QVERIFY(!await(store->delete_(account)));
        QVERIFY(probe->longestStall() < LoopStallProbe::budget);
        keyring->unlock();
        QCOMPARE(await(store->get(account)), stored);
    }

    void anUnansweredPromptHoldsUpNothingElse() {
        keyring->lock();
        showPrompts();
        auto unlocking = store->unlock();
        QVERIFY(waitUntil([&] { return prompter->isUp(); }));
        LoopStallProbe whileUp;
        QVERIFY(await(store->get(account)).isUnavailable());
        auto change = store->set(account, u"new"_s);
        QCOMPARE(await(store->get(account)), SecretReading::found(u"new"_s));
        std::ignore = store->delete_(account);
        QVERIFY(await(store->get(account)) == SecretReading::absent());
        QVERIFY(await(store->get(u"api_key"_s)).isUnavailable());
        QVERIFY(!change.isFinished());
        QVERIFY(!unlocking.isFinished());
        QVERIFY(whileUp.longestStall() < LoopStallProbe::budget);
        QCOMPARE(prompter->shown(), 1);
    }

    void unlockingElsewhereEndsTheWaitForAPromptWithoutDismissingIt() {
        keyring->lock();
        showPrompts();
        auto unlocking = store->unlock();
        auto change = store->set(account, u"new"_s);
        QVERIFY(waitUntil([&] { return prompter->isUp(); }));
        keyring->unlock();
        QVERIFY(await(std::move(unlocking)));
        QVERIFY(await(std::move(change)));
        QVERIFY(prompter->isUp());
        QCOMPARE(Keychain::get(account), std::optional(u"new"_s));
    }

    void anUnansweredPromptIsLeftBehindAtOnceAndTheDaemonSurvives() {
        keyring->lock();
        showPrompts();
        auto change = store->set(account, u"lost"_s);
        QVERIFY(waitUntil([&] { return prompter->isUp(); }));
        QElapsedTimer timer;
        timer.start();
        store.reset();
        QVERIFY(timer.elapsed() < 1500);
        QVERIFY(!await(std::move(change)));
        QVERIFY(prompter->isUp());
        keyring->unlock();
        QCOMPARE(Keychain::get(account), std::optional(u"stored"_s));
    }

    void aRefusedPromptFailsTheWaitingChangesAndIsNotRepeatedByLaterOnes() {
        keyring->lock();
        showPrompts();
        auto first = store->set(account, u"a"_s);
        auto second = store->set(account, u"ab"_s);
        auto unlocking = store->unlock();
        QVERIFY(waitUntil([&] { return prompter->isUp(); }));
        prompter->refuse();
        QVERIFY(!await(std::move(first)));
        QVERIFY(!await(std::move(second)));
        QVERIFY(!await(std::move(unlocking)));
        QVERIFY(!await(store->set(account, u"abc"_s)));
        QCOMPARE(prompter->shown(), 1);
        QVERIFY(!await(store->unlock()));
        QCOMPARE(prompter->shown(), 2);
        QVERIFY(probe->longestStall() < LoopStallProbe::budget);
    }

    void afterARefusalAndAnUnlockElsewhereALaterLockIsAskedAboutAgain() {
        keyring->lock();
        showPrompts();
        prompter->refuse();
        QVERIFY(!await(store->set(account, u"a"_s)));
        QCOMPARE(prompter->shown(), 1);
        bool available = false;
        const auto observation = store->becameAvailable.observe([&] { available = true; });
        keyring->unlock();
        QVERIFY(waitUntil([&] { return available; }));
        keyring->lock();
        QVERIFY(!await(store->set(account, u"b"_s)));
        QCOMPARE(prompter->shown(), 2);
    }

    void withoutAServiceNothingIsAvailableUntilItComesUp() {
        int became = 0;
        const auto observation = store->becameAvailable.observe([&] { ++became; });
        keyring->stop();
        QVERIFY(await(store->get(account)).isUnavailable());
        QVERIFY(!await(store->set(account, u"lost"_s)));
        QVERIFY(!await(store->delete_(account)));
        QVERIFY(!await(store->unlock()));
        QVERIFY(probe->longestStall() < LoopStallProbe::budget);
        QCOMPARE(became, 0);
        keyring->start();
        QVERIFY(waitUntil([&] { return became == 1; }));
        QCOMPARE(await(store->get(account)), stored);
    }

    void aStoreWithoutAnyCollectionIsEmptyAndUnlockMakesNone() {
        keyring = std::make_unique<PrivateKeyring>(bus);
        keyring->startWithoutPassword();
        showPrompts();
        QVERIFY(await(store->get(account)) == SecretReading::absent());
        QVERIFY(!await(store->delete_(account)));
        QVERIFY(await(store->unlock()));
        QCOMPARE(prompter->shown(), 0);
    }

    void theFirstChangeAsksForACollectionWhereThereIsNone() {
        keyring = std::make_unique<PrivateKeyring>(bus);
        keyring->startWithoutPassword();
        showPrompts();
        auto change = store->set(account, u"first"_s);
        QVERIFY(waitUntil([&] { return prompter->isUp(); }));
        QCOMPARE(await(store->get(account)), SecretReading::found(u"first"_s));
        prompter->refuse();
        QVERIFY(!await(std::move(change)));
        QVERIFY(await(store->get(account)) == SecretReading::absent());
    }

    void aDaemonThatDoesNotAnswerStallsNothingAndIsHeardWhenItDoes() {
        keyring->suspend();
        auto reading = store->get(account);
        auto change = store->set(account, u"new"_s);
        QVERIFY(!waitUntil([&] { return reading.isFinished(); }, 200ms));
        QVERIFY(probe->longestStall() < LoopStallProbe::budget);
        keyring->resume();
        QCOMPARE(await(std::move(reading)), stored);
        QVERIFY(await(std::move(change)));
    }

    void aDaemonThatDoesNotAnswerIsLeftBehindAfterTwoSeconds() {
        keyring->suspend();
        auto reading = store->get(account);
        std::ignore = store->set(account, u"lost"_s);
        QElapsedTimer timer;
        timer.start();
        store.reset();
        QVERIFY(timer.elapsed() < 4000);
        QVERIFY(await(std::move(reading)).isUnavailable());
        keyring->resume();
        // The thread that was left behind touches nothing of the store that is gone.
        QCOMPARE(Keychain::get(account), std::optional(u"stored"_s));
    }

private:
    void showPrompts() { prompter = std::make_unique<ScriptedPrompter>(bus.connect()); }

    PrivateBus bus;
    std::unique_ptr<PrivateKeyring> keyring;
    std::unique_ptr<ScriptedPrompter> prompter;
    std::unique_ptr<SecretStore> store;
    std::unique_ptr<LoopStallProbe> probe;
};

QUILLO_TEST(SecretStoreTest, QCoreApplication)
#include "SecretStoreTest.moc"
