#include "platform/desktop/SingleInstance.h"

#include "platform/desktop/ActivationToken.h"
#include "platform/desktop/LocalBusInterface.h"

#include "ApplicationAdaptor.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QHash>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

namespace {

const QString activationToken = u"activation-token"_s;
/// The same for X11, from before there was a common name.
const QString startupId = u"desktop-startup-id"_s;

} // namespace

SingleInstance::SingleInstance(QDBusConnection sessionBus, QString id, std::chrono::milliseconds longest)
    : bus(std::move(sessionBus)),
      applicationId(std::move(id)),
      objectPath(QString(u'/' + applicationId).replace(u'.', u'/').replace(u'-', u'_')),
      limit(longest) {
    new ApplicationAdaptor(this); // owned by this object, which is how Qt finds it
}

SingleInstance::~SingleInstance() {
    if (auto* const daemon = bus.interface()) {
        daemon->unregisterService(applicationId);
    }
}

SingleInstance::Claim SingleInstance::claim(const QString& launchToken) {
    // The object comes before the name: whoever sees the name may call at once.
    if (!bus.isConnected() || !bus.registerObject(objectPath, this, QDBusConnection::ExportAdaptors)) {
        return Claim::alone;
    }
    // The other instance may end between the two questions; then the name is free again. More than a few
    // turns would mean that something ends over and over.
    for (int turn = 0; turn < 10; ++turn) {
        if (ownsName()) {
            quitWithBus();
            return Claim::first;
        }
        if (const auto other = askOther(launchToken)) {
            return *other;
        }
    }
    return Claim::alone;
}

bool SingleInstance::ownsName() {
    const auto reply =
        bus.interface()->registerService(applicationId, QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    return reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

std::optional<SingleInstance::Claim> SingleInstance::askOther(const QString& launchToken) {
    auto call = QDBusMessage::createMethodCall(applicationId, objectPath, u"org.freedesktop.Application"_s,
                                               u"Activate"_s);
    call.setAutoStartService(false);
    QVariantMap platformData;
    if (!launchToken.isEmpty()) {
        platformData = {{activationToken, launchToken}, {startupId, launchToken}};
    }
    call << platformData;
    const auto answer = QDBusError(bus.call(call, QDBus::Block, static_cast<int>(limit.count()))).type();
    if (!bus.interface()->isServiceRegistered(applicationId).value()) {
        return std::nullopt;
    }
    // An instance of this program may be too busy to answer, but it never lacks the method.
    const bool isStranger = answer == QDBusError::UnknownObject || answer == QDBusError::UnknownInterface ||
                            answer == QDBusError::UnknownMethod;
    return isStranger ? Claim::taken : Claim::second;
}

void SingleInstance::quitWithBus() {
    using Local = OrgFreedesktopDBusLocalInterface;
    auto local = std::make_unique<Local>(QString(), u"/org/freedesktop/DBus/Local"_s, bus);
    connect(local.get(), &Local::Disconnected, this, [this] { ActivateAction(u"quit"_s, {}, {}); });
    connectionState = std::move(local);
}

void SingleInstance::Activate(const QVariantMap& platformData) {
    schedule(&ApplicationRequests::openLedger, platformData);
}

void SingleInstance::Open(const QStringList&, const QVariantMap&) {}

void SingleInstance::ActivateAction(const QString& name, const QVariantList&,
                                    const QVariantMap& platformData) {
    static const QHash<QString, Request> known{{u"open-ledger"_s, &ApplicationRequests::openLedger},
                                               {u"refresh"_s, &ApplicationRequests::refresh},
                                               {u"settings"_s, &ApplicationRequests::settings},
                                               {u"quit"_s, &ApplicationRequests::quit}};
    if (const auto request = known.value(name)) {
        schedule(request, platformData);
    } else if (calledFromDBus()) {
        sendErrorReply(QDBusError::InvalidArgs, u"There is no action “%1”."_s.arg(name));
    }
}

void SingleInstance::schedule(Request request, const QVariantMap& platformData) {
    const auto newer = platformData.value(activationToken).toString();
    const auto token = newer.isEmpty() ? platformData.value(startupId).toString() : newer;
    QMetaObject::invokeMethod(
        this,
        [this, request, token] {
            if (const auto handler = requests.*request) {
                ActivationToken::offer(token);
                handler();
            }
        },
        Qt::QueuedConnection);
}

} // namespace quillo
