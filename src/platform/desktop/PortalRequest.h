#pragma once

#include "core/Task.h"

#include <QDBusConnection>
#include <QString>
#include <QVariantMap>

#include <functional>

class QDBusPendingCall;

/// Questions to the desktop's portals (`org.freedesktop.portal.Request`).
namespace quillo::portal {

inline const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString desktopPath = QStringLiteral("/org/freedesktop/portal/desktop");

struct Response {
    static constexpr uint success = 0;
    /// No code of the portals': there is none, or it did not take the request.
    static constexpr uint notTaken = ~0U;

    uint code = notTaken;
    QVariantMap results = {};
};

/// Sends the call with the options that it has to pass on.
using Call = std::function<QDBusPendingCall(const QVariantMap& options)>;

/// Asks, and waits for the answer for as long as the user takes. Dropping the task takes the question back.
[[nodiscard]] Task<Response> ask(QDBusConnection bus, Call call, QVariantMap options);

/// The path that a portal makes of a token: `kind` is "request" or "session".
[[nodiscard]] QString handlePath(const QDBusConnection& bus, const QString& kind, const QString& token);

} // namespace quillo::portal
