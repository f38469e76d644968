#include "ui/ViewUpdates.h"

#include "store/StoreFixture.h"
#include "support/Wait.h"

#include <QTest>

#include <memory>

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

    void init() {
        fixture->store().lastError = std::nullopt;
        drainEvents();
    }

    void whatThereIsIsRenderedAtOnce() {
        fixture->store().lastError = u"HTTP 500"_s;
        QStringList shown;
        const ViewUpdates updates(fixture->store(), appendingTo(shown));
        QCOMPARE(shown, QStringList{u"HTTP 500"_s});
    }

    void manyAnnouncementsGiveOneRenderOnTheNextTurn() {
        auto& store = fixture->store();
        QStringList shown;
        const ViewUpdates updates(store, appendingTo(shown));
        shown.clear();
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
        AppState shown;
        const ViewUpdates updates(store, [&](const AppState& state) {
            ++renders;
            shown = state;
        });
        store.settings.refreshInterval = 60;
        drainEvents();
        QCOMPARE(renders, 2);
        QCOMPARE(shown.refreshInterval, qint64(60));
        store.auth.state = AuthState::signingIn();
        drainEvents();
        QCOMPARE(renders, 3);
        QVERIFY(shown.auth.isSigningIn());
        store.auth.state = AuthState::signedOut();
    }

    void aChangeDuringARenderIsRenderedAfterIt() {
        auto& store = fixture->store();
        QStringList shown;
        const ViewUpdates updates(store, [&](const AppState& state) {
            shown.append(state.error.value_or(QString()));
            if (state.error == u"first"_s) {
                store.lastError = u"second"_s;
            }
        });
        shown.clear();
        store.lastError = u"first"_s;
        drainEvents();
        QCOMPARE(shown, (QStringList{u"first"_s, u"second"_s}));
    }

    void aViewThatHasGoneIsNotRendered() {
        auto& store = fixture->store();
        int renders = 0;
        {
            const ViewUpdates updates(store, [&](const AppState&) { ++renders; });
            store.lastError = u"x"_s;
        }
        store.lastError = u"y"_s;
        drainEvents();
        QCOMPARE(renders, 1);
    }

private:
    /// Notes the error line of each rendering.
    static ViewUpdates::Render appendingTo(QStringList& shown) {
        return [&shown](const AppState& state) { shown.append(state.error.value_or(QString())); };
    }

    std::unique_ptr<StoreFixture> fixture;
};

QTEST_GUILESS_MAIN(ViewUpdatesTest)
#include "ViewUpdatesTest.moc"
