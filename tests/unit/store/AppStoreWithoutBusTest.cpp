#include "store/StoreFixture.h"
#include "support/LoopStallProbe.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

/// A process of its own: libraries ask for the session bus once.
class AppStoreWithoutBusTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { leaveSessionBus(); }
    void init() { fixture = std::make_unique<StoreFixture>(); }

    void withoutASessionBusTheUserIsAskedToSignIn() {
        LoopStallProbe probe;
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        QCOMPARE(*store.lastError, std::optional(u"Sign in to Quillo (menu → Sign In…)"_s));
        QCOMPARE(fixture->backend.count(), 0);
        QVERIFY(store.auth.state->isSignedOut());
        QVERIFY(probe.longestStall() < LoopStallProbe::budget);
    }

    void anApiKeyThatIsTypedInWorksWithoutASessionBus() {
        auto& store = fixture->start();
        fixture->waitUntilSettled();
        store.settings.apiKey = u"typed"_s;
        await(store.refresh());
        QVERIFY(!store.lastError->has_value());
        QCOMPARE((*store.timeline)->totalOwed, 1234.5);
        fixture->clock.advance(std::chrono::seconds(300));
        QVERIFY(store.isLoading); // the triggers work, too
    }

private:
    std::unique_ptr<StoreFixture> fixture;
};

QUILLO_TEST(AppStoreWithoutBusTest, QCoreApplication)
#include "AppStoreWithoutBusTest.moc"
