#include "platform/desktop/PortalAutostart.h"

#include "platform/desktop/PortalRequest.h"
#include "support/PrivateBus.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QTest>

#include <optional>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

/// The portal's front end: takes every question and answers it when the test says so.
class FrontEnd final : public QDBusVirtualObject {
public:
    explicit FrontEnd(QDBusConnection connection) : bus(std::move(connection)) {
        if (!bus.registerVirtualObject(u"/org/freedesktop/portal"_s, this, QDBusConnection::SubPath) ||
            !bus.registerService(portal::service)) {
            qFatal("the bus does not give away the portal's name");
        }
    }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
        if (message.member() == "Close"_L1) {
            ++closed;
            return true;
        }
        question = message;
        options = qdbus_cast<QVariantMap>(message.arguments().at(1));
        bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(requestPath()))));
        return true;
    }

    void answer(uint code, const QVariantMap& results) {
        auto signal =
            QDBusMessage::createSignal(requestPath(), u"org.freedesktop.portal.Request"_s, u"Response"_s);
        signal << code << results;
        bus.send(signal);
        question.reset();
    }

    bool isAsked() const { return question.has_value(); }

    QVariantMap options = {};
    int closed = 0;

private:
    QString requestPath() const {
        auto sender = question->service().mid(1);
        return portal::desktopPath + u"/request/"_s + sender.replace(u'.', u'_') + u'/' +
               options.value(u"handle_token"_s).toString();
    }

    QDBusConnection bus;
    std::optional<QDBusMessage> question;
};

struct Desktop {
    PrivateBus bus = {};
    FrontEnd portal{bus.connect()};
    PortalAutostart autostart{bus.connect()};
    int changes = 0;
    Observation observation = autostart.changed.observe([this] { ++changes; });

    void request(bool startsAtLogin) {
        autostart.request(startsAtLogin);
        QVERIFY(waitUntil([this] { return portal.isAsked(); }));
    }
};

const QVariantMap granted{{u"autostart"_s, true}, {u"background"_s, true}};
const QVariantMap refused{{u"autostart"_s, false}, {u"background"_s, false}};

} // namespace

class PortalAutostartTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void untilTheUserHasAnsweredWhatWasAskedForCounts() {
        Desktop desktop;
        QCOMPARE(desktop.autostart.status(), LoginItemStatus::notRegistered);
        desktop.request(true);
        QCOMPARE(desktop.portal.options.value(u"autostart"_s), QVariant(true));
        QCOMPARE(desktop.portal.options.value(u"commandline"_s).toStringList(), QStringList{u"quillo"_s});
        QCOMPARE(desktop.autostart.status(), LoginItemStatus::enabled);
    }

    void aRefusalIsTheStateUntilTheUserAllowsIt() {
        Desktop desktop;
        desktop.request(true);
        desktop.portal.answer(0, refused);
        QVERIFY(waitUntil([&] { return desktop.changes == 1; }));
        QCOMPARE(desktop.autostart.status(), LoginItemStatus::requiresApproval);
        desktop.request(true);
        desktop.portal.answer(1, {}); // cancelled by the user
        QVERIFY(waitUntil([&] { return desktop.changes == 2; }));
        QCOMPARE(desktop.autostart.status(), LoginItemStatus::requiresApproval);
    }

    void switchingOffAsksThePortalToo() {
        Desktop desktop;
        desktop.request(false);
        QCOMPARE(desktop.portal.options.value(u"autostart"_s), QVariant(false));
        QCOMPARE(desktop.autostart.status(), LoginItemStatus::notRegistered);
        desktop.portal.answer(0, granted); // it starts all the same
        QVERIFY(waitUntil([&] { return desktop.changes == 1; }));
        QCOMPARE(desktop.autostart.status(), LoginItemStatus::enabled);
    }

    void aLaterQuestionTakesTheEarlierOneBack() {
        Desktop desktop;
        desktop.request(true);
        desktop.autostart.request(false);
        QVERIFY(waitUntil([&] { return desktop.portal.closed == 1; }));
        QCOMPARE(desktop.autostart.status(), LoginItemStatus::notRegistered);
    }

    void withoutAPortalThereIsNoLoginItem() {
        PrivateBus bus;
        PortalAutostart autostart(bus.connect());
        autostart.request(true);
        QVERIFY(waitUntil([&] { return autostart.status() == LoginItemStatus::notFound; }));
    }
};

QUILLO_TEST(PortalAutostartTest, QCoreApplication)
#include "PortalAutostartTest.moc"
