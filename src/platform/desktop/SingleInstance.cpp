#include "platform/desktop/SingleInstance.h"

#include "platform/desktop/LocalBusInterface.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

SingleInstance::SingleInstance(QDBusConnection sessionBus, QString id, std::chrono::milliseconds longest)
    : bus(std::move(sessionBus)), applicationId(std::move(id)), limit(longest) {}

SingleInstance::~SingleInstance() = default;

SingleInstance::Claim SingleInstance::claim(const QString& launchToken) {
    // The object comes before the name: whoever sees the name may call at once.
    if (!bus.isConnected() || !application.exportOn(bus, applicationId)) {
        return Claim::alone;
    }
    // The other instance may end between the two questions; then the name is free again. More than a few
    // turns would mean that something ends over and over.
    for (int turn = 0; turn < 10; ++turn) {
        if (ownsName()) {
            quitWithBus();
            return Claim::first;
        }
        if (askOther(launchToken)) {
            return Claim::second;
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

bool SingleInstance::askOther(const QString& launchToken) {
    auto call = QDBusMessage::createMethodCall(applicationId, DesktopApplication::path(applicationId),
                                               u"org.freedesktop.Application"_s, u"Activate"_s);
    call.setAutoStartService(false);
    call << DesktopApplication::platformData(launchToken);
    bus.call(call, QDBus::Block, static_cast<int>(limit.count()));
    // Whatever the answer was, or if there was none: as long as the name has an owner, the request has
    // reached it.
    return bus.interface()->isServiceRegistered(applicationId).value();
}

void SingleInstance::quitWithBus() {
    using Local = OrgFreedesktopDBusLocalInterface;
    connectionState = std::make_unique<Local>(QString(), u"/org/freedesktop/DBus/Local"_s, bus);
    QObject::connect(connectionState.get(), &Local::Disconnected, &application,
                     [this] { application.ActivateAction(u"quit"_s, {}, {}); });
}

} // namespace quillo
