#include "platform/desktop/DesktopApplication.h"

#include "platform/desktop/ActivationToken.h"

#include "ApplicationAdaptor.h"

#include <QHash>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

namespace {

const QString activationToken = u"activation-token"_s;
/// The same for X11, from before there was a common name.
const QString startupId = u"desktop-startup-id"_s;

} // namespace

DesktopApplication::DesktopApplication(QObject* parent) : QObject(parent) {
    new ApplicationAdaptor(this); // owned by this object, which is how Qt finds it
}

QString DesktopApplication::path(const QString& applicationId) {
    auto path = u'/' + applicationId;
    return path.replace(u'.', u'/').replace(u'-', u'_');
}

QVariantMap DesktopApplication::platformData(const QString& token) {
    if (token.isEmpty()) {
        return {};
    }
    return {{activationToken, token}, {startupId, token}};
}

bool DesktopApplication::exportOn(QDBusConnection connection, const QString& applicationId) {
    return connection.registerObject(path(applicationId), this, QDBusConnection::ExportAdaptors);
}

void DesktopApplication::Activate(const QVariantMap& platformData) {
    schedule(&ApplicationRequests::openLedger, platformData);
}

void DesktopApplication::Open(const QStringList&, const QVariantMap&) {}

void DesktopApplication::ActivateAction(const QString& name, const QVariantList&,
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

void DesktopApplication::schedule(Request request, const QVariantMap& platformData) {
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
