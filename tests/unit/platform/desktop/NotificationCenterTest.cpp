#include "platform/desktop/NotificationCenter.h"

#include "platform/desktop/ActivationToken.h"
#include "support/TestMain.h"

#include <QGuiApplication>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

class NotificationCenterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void postCallsTheObserversOfThatNameInOrder() {
        NotificationCenter center;
        QStringList calls;
        const auto first = center.observe(u"a", [&] { calls << u"first"_s; });
        const auto second = center.observe(u"a", [&] { calls << u"second"_s; });
        const auto other = center.observe(u"b", [&] { calls << u"other"_s; });

        center.post(u"a");

        QCOMPARE(calls, (QStringList{u"first"_s, u"second"_s}));
    }

    void postThatNobodyObservesDoesNothing() {
        NotificationCenter center;
        center.post(u"a");
    }

    void endedObservationIsNotCalledAnyMore() {
        NotificationCenter center;
        int calls = 0;
        auto observation = center.observe(u"a", [&] { ++calls; });
        center.post(u"a");
        observation = {};
        center.post(u"a");

        QCOMPARE(calls, 1);
    }

    void observerMayObserveOtherNamesWhileItIsCalled() {
        NotificationCenter center;
        int calls = 0;
        std::vector<Observation> more;
        const auto observation = center.observe(u"a", [&] {
            for (int number = 0; number < 200; ++number) {
                more.push_back(center.observe(QString::number(number), [&] { ++calls; }));
            }
        });
        const auto last = center.observe(u"a", [&] { ++calls; });

        center.post(u"a");
        QCOMPARE(calls, 1);
        center.post(u"199");
        QCOMPARE(calls, 2);
    }

    void openLedgerNotificationHasItsPublicName() {
        QCOMPARE(notification::openLedgerRequested, u"quillo.openLedgerRequested");
    }

    void becomingActiveIsPostedOnceAndBecomingInactiveIsNot() {
        NotificationCenter center;
        const auto activity = watchActivity(center);
        int calls = 0;
        const auto observation = center.observe(notification::applicationDidBecomeActive, [&] { ++calls; });

        Q_EMIT qGuiApp->applicationStateChanged(Qt::ApplicationActive);
        QCOMPARE(calls, 1);
        Q_EMIT qGuiApp->applicationStateChanged(Qt::ApplicationInactive);
        QCOMPARE(calls, 1);
    }

    void activationTokenIsTakenOnce() {
        ActivationToken::offer(u"older"_s);
        ActivationToken::offer(u"token"_s);

        QCOMPARE(ActivationToken::take(), u"token"_s);
        QCOMPARE(ActivationToken::take(), QString());
    }
};

QUILLO_TEST(NotificationCenterTest, QGuiApplication)
#include "NotificationCenterTest.moc"
