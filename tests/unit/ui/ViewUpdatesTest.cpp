#include "ui/ViewUpdates.h"

#include "store/StoreFixture.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

class ViewUpdatesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        leaveSessionBus();
        fixture = std::make_unique<StoreFixture>();
        fixture->start();
        fixture->waitUntilSettled();
        drainEvents();
    }

    void manyAnnouncementsGiveOneRenderOnTheNextTurn() {
        auto& store = fixture->store();
        QStringList shown;
        const ViewUpdates updates(store, [&] { shown.append(store.lastError->value_or(QString())); });
        for (int number = 0; number < 1000; ++number) {
            store.lastError = QString::number(number);
            store.isLoading = !store.isLoading;
        }
        QVERIFY(shown.isEmpty());
        drainEvents();
        QCOMPARE(shown, QStringList{u"999"_s}); // the last value, in place
        drainEvents();
        QCOMPARE(shown.size(), 1);
        store.lastError = u"later"_s;
        drainEvents();
        QCOMPARE(shown, (QStringList{u"999"_s, u"later"_s}));
    }

    void settingsAndSignInRenderToo() {
        auto& store = fixture->store();
        int renders = 0;
        const ViewUpdates updates(store, [&] { ++renders; });
        store.settings.refreshInterval = 60;
        drainEvents();
        QCOMPARE(renders, 1);
        store.auth.state = AuthState::signingIn();
        drainEvents();
        QCOMPARE(renders, 2);
    }

    void aChangeDuringARenderIsRenderedAfterIt() {
        auto& store = fixture->store();
        QStringList shown;
        const ViewUpdates updates(store, [&] {
            shown.append(store.lastError->value_or(QString()));
            if (shown.size() == 1) {
                store.lastError = u"second"_s;
            }
        });
        store.lastError = u"first"_s;
        drainEvents();
        QCOMPARE(shown, (QStringList{u"first"_s, u"second"_s}));
    }

    void aViewThatHasGoneIsNotRendered() {
        auto& store = fixture->store();
        int renders = 0;
        {
            const ViewUpdates updates(store, [&] { ++renders; });
            store.lastError = u"x"_s;
        }
        store.lastError = u"y"_s;
        drainEvents();
        QCOMPARE(renders, 0);
    }

private:
    std::unique_ptr<StoreFixture> fixture;
};

QUILLO_TEST(ViewUpdatesTest, QCoreApplication)
#include "ViewUpdatesTest.moc"
