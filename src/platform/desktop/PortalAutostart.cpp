#include "platform/desktop/PortalAutostart.h"

#include "platform/desktop/PortalRequest.h"

#include <QDBusMessage>
#include <QDBusPendingCall>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

namespace {

LoginItemStatus statusOf(const portal::Response& response, bool wanted) {
    if (response.code == portal::Response::notTaken) {
        return LoginItemStatus::notFound;
    }
    if (response.results.value(u"autostart"_s).toBool()) {
        return LoginItemStatus::enabled;
    }
    return wanted ? LoginItemStatus::requiresApproval : LoginItemStatus::notRegistered;
}

} // namespace

PortalAutostart::PortalAutostart(QDBusConnection sessionBus) : bus(std::move(sessionBus)) {}

void PortalAutostart::request(bool startsAtLogin) {
    asking.cancelAll();
    state = startsAtLogin ? LoginItemStatus::enabled : LoginItemStatus::notRegistered;
    asking.spawn(ask(startsAtLogin));
}

Task<> PortalAutostart::ask(bool startsAtLogin) {
    const auto call = [this](const QVariantMap& options) {
        auto message =
            QDBusMessage::createMethodCall(portal::service, portal::desktopPath,
                                           u"org.freedesktop.portal.Background"_s, u"RequestBackground"_s);
        message << QString() << options;
        return bus.asyncCall(message);
    };
    const QVariantMap options{{u"autostart"_s, startsAtLogin},
                              {u"commandline"_s, QStringList{u"quillo"_s}},
                              {u"reason"_s, u"Keep your credit card balance in view"_s}};
    auto answering = portal::ask(bus, call, options);
    const auto response = co_await answering;
    const auto answered = statusOf(response, startsAtLogin);
    if (std::exchange(state, answered) != answered) {
        changed.emit();
    }
}

} // namespace quillo
