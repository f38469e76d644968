#include "platform/desktop/PortalRequest.h"

#include "core/Promise.h"
#include "platform/desktop/PortalRequestInterface.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

using namespace Qt::Literals::StringLiterals;

namespace quillo::portal {

namespace {

/// A request that is closed when nobody waits for its answer any more.
class OpenRequest : public OrgFreedesktopPortalRequestInterface {
public:
    using OrgFreedesktopPortalRequestInterface::OrgFreedesktopPortalRequestInterface;
    OpenRequest(const OpenRequest&) = delete;
    OpenRequest& operator=(const OpenRequest&) = delete;
    ~OpenRequest() override {
        if (!isAnswered) {
            auto close = QDBusMessage::createMethodCall(service(), path(), interface(), u"Close"_s);
            close.setAutoStartService(false); // the portal may just have ended
            connection().send(close);
        }
    }

    bool isAnswered = false;
};

} // namespace

Task<Response> ask(QDBusConnection bus, Call call, QVariantMap options) {
    static uint count = 0;
    const auto token = u"quillo%1"_s.arg(++count);
    options.insert(u"handle_token"_s, token);
    // Listened to before the question is asked: the path follows from the token.
    OpenRequest request(service, handlePath(bus, u"request"_s, token), bus);
    Promise<Response> response;
    auto answer = response.task();
    QObject::connect(&request, &OpenRequest::Response, &request,
                     [response](uint code, const QVariantMap& results) {
                         response.fulfil({code, results});
                     });
    QDBusPendingCallWatcher taken(call(options));
    QObject::connect(&taken, &QDBusPendingCallWatcher::finished, &taken, [&] {
        if (taken.isError()) {
            response.fulfil({});
        }
    });
    auto result = co_await answer;
    request.isAnswered = true;
    co_return result;
}

QString handlePath(const QDBusConnection& bus, const QString& kind, const QString& token) {
    auto sender = bus.baseService().mid(1);
    return desktopPath + u'/' + kind + u'/' + sender.replace(u'.', u'_') + u'/' + token;
}

} // namespace quillo::portal
