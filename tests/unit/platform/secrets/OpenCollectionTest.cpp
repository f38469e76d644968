#include "platform/secrets/OpenCollection.h"

#include "platform/secrets/SecretServiceInterface.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <QDBusContext>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QTest>

#include <memory>
#include <optional>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const auto serviceName = u"org.freedesktop.secrets"_s;
const QDBusObjectPath none(u"/"_s);
const QDBusObjectPath login(u"/org/freedesktop/secrets/collection/login"_s);
const QDBusObjectPath question(u"/org/freedesktop/secrets/prompt/p1"_s);

} // namespace

/// A prompt that answers when the test says so.
class ScriptedPrompt : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Secret.Prompt")

public:
    int prompted = 0;
    int dismissed = 0;
    bool refuses = false;

public Q_SLOTS:
    void Prompt(const QString&) {
        ++prompted;
        if (refuses) {
            sendErrorReply(QDBusError::Failed, u"no display"_s);
        }
    }
    void Dismiss() { ++dismissed; }

Q_SIGNALS:
    void Completed(bool dismissed, const QDBusVariant& result);
};

/// The parts of the Secret Service that opening a collection needs.
class ScriptedSecretService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Secret.Service")

public:
    QDBusObjectPath alias = login;
    QList<QDBusObjectPath> unlocked;
    QDBusObjectPath prompt = question;
    QStringList calls;

public Q_SLOTS:
    QDBusObjectPath ReadAlias(const QString& name) {
        calls.append(u"ReadAlias "_s + name);
        return alias;
    }
    QList<QDBusObjectPath> Unlock(const QList<QDBusObjectPath>& objects, QDBusObjectPath& promptPath) {
        calls.append(u"Unlock "_s + objects.constFirst().path());
        promptPath = prompt;
        return unlocked;
    }
    QDBusObjectPath CreateCollection(const QVariantMap& properties, const QString& name,
                                     QDBusObjectPath& promptPath) {
        calls.append(u"CreateCollection "_s + name);
        calls.append(properties.keys());
        promptPath = prompt;
        return prompt == none ? login : none;
    }
};

class OpenCollectionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        bus = std::make_unique<PrivateBus>();
        daemon.emplace(bus->connect());
        scripted = std::make_unique<ScriptedSecretService>();
        prompt = std::make_unique<ScriptedPrompt>();
        daemon->registerObject(u"/org/freedesktop/secrets"_s, scripted.get(),
                               QDBusConnection::ExportAllSlots);
        daemon->registerObject(question.path(), prompt.get(),
                               QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
        daemon->registerService(serviceName);
        service = std::make_unique<OrgFreedesktopSecretServiceInterface>(
            serviceName, u"/org/freedesktop/secrets"_s, bus->connect());
    }
    void cleanup() {
        service.reset();
        daemon.reset();
        bus.reset();
    }

    void aCollectionThatNeedsNoPromptIsOpenAtOnce() {
        scripted->prompt = none;
        scripted->unlocked = {login};
        QVERIFY(await(openDefaultCollection(*service)));
        QCOMPARE(scripted->calls, (QStringList{u"ReadAlias default"_s, u"Unlock "_s + login.path()}));
        QCOMPARE(prompt->prompted, 0);
    }

    void aServiceThatNeitherUnlocksNorAsksHasRefused() {
        scripted->prompt = none;
        QVERIFY(!await(openDefaultCollection(*service)));
    }

    void theUsersYesOpensTheCollection() {
        auto opening = openDefaultCollection(*service);
        QVERIFY(waitUntil([&] { return prompt->prompted == 1; }));
        drainEvents();
        QVERIFY(!opening.isFinished());
        Q_EMIT prompt->Completed(false, QDBusVariant(QString()));
        QVERIFY(await(std::move(opening)));
    }

    void theUsersNoLeavesItLocked() {
        auto opening = openDefaultCollection(*service);
        QVERIFY(waitUntil([&] { return prompt->prompted == 1; }));
        Q_EMIT prompt->Completed(true, QDBusVariant(QString()));
        QVERIFY(!await(std::move(opening)));
    }

    void aPromptThatCannotBeShownIsANo() {
        prompt->refuses = true;
        QVERIFY(!await(openDefaultCollection(*service)));
    }

    void aServiceThatGoesWhileItAsksIsANo() {
        auto opening = openDefaultCollection(*service);
        QVERIFY(waitUntil([&] { return prompt->prompted == 1; }));
        daemon->unregisterService(serviceName);
        QVERIFY(!await(std::move(opening)));
    }

    void noServiceIsANo() {
        daemon->unregisterService(serviceName);
        QVERIFY(!await(openDefaultCollection(*service)));
    }

    void aMissingCollectionIsMadeAsTheDefault() {
        scripted->alias = none;
        auto opening = openDefaultCollection(*service);
        QVERIFY(waitUntil([&] { return prompt->prompted == 1; }));
        Q_EMIT prompt->Completed(false, QDBusVariant(QString()));
        QVERIFY(await(std::move(opening)));
        QCOMPARE(scripted->calls, (QStringList{u"ReadAlias default"_s, u"CreateCollection default"_s,
                                               u"org.freedesktop.Secret.Collection.Label"_s}));
    }

    void aCollectionMadeWithoutAPromptIsOpen() {
        scripted->alias = none;
        scripted->prompt = none;
        QVERIFY(await(openDefaultCollection(*service)));
    }

    void droppingTheTaskNeverDismissesThePrompt() {
        {
            auto opening = openDefaultCollection(*service);
            QVERIFY(waitUntil([&] { return prompt->prompted == 1; }));
        }
        scripted->prompt = none;
        scripted->unlocked = {login};
        // A whole conversation later, a Dismiss would have arrived.
        QVERIFY(await(openDefaultCollection(*service)));
        QCOMPARE(prompt->dismissed, 0);
        Q_EMIT prompt->Completed(false, QDBusVariant(QString()));
        drainEvents();
    }

private:
    std::unique_ptr<PrivateBus> bus;
    std::optional<QDBusConnection> daemon;
    std::unique_ptr<ScriptedSecretService> scripted;
    std::unique_ptr<ScriptedPrompt> prompt;
    std::unique_ptr<OrgFreedesktopSecretServiceInterface> service;
};

QTEST_GUILESS_MAIN(OpenCollectionTest)
#include "OpenCollectionTest.moc"
