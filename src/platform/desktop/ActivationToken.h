#pragma once

#include <QString>
#include <QtGlobal>

#include <utility>

namespace quillo {

/// The right to take the focus that another program gave this one together with a request (a click on the
/// status item, the hot key by the portal, a second launch): an xdg-activation token or an X11 startup id.
///
/// Whoever receives a request offers its token just before passing the request on; the window that the
/// request brings to the front takes it. A token that nobody took is replaced by the next. For the main
/// thread.
class ActivationToken {
public:
    /// Makes `token` the one to be used next; an empty one withdraws an older one.
    static void offer(const QString& token) { offered = token; }

    /// The token that this process was launched with (`XDG_ACTIVATION_TOKEN`, else `DESKTOP_STARTUP_ID`),
    /// empty without one. To be called before there is a `QGuiApplication`, which takes it out of the
    /// environment.
    [[nodiscard]] static QString ofLaunch() {
        const auto token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
        return token.isEmpty() ? qEnvironmentVariable("DESKTOP_STARTUP_ID") : token;
    }

    /// The token offered last, empty when there is none. It can be taken once.
    [[nodiscard]] static QString take() { return std::exchange(offered, QString()); }

private:
    static inline QString offered;
};

} // namespace quillo
