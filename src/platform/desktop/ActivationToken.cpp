#include "platform/desktop/ActivationToken.h"

#include <QtGlobal>

#include <utility>

namespace quillo {

QString ActivationToken::ofLaunch() {
    const auto token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qEnvironmentVariable("DESKTOP_STARTUP_ID") : token;
}

void ActivationToken::offer(const QString& token) {
    offered = token;
}

QString ActivationToken::take() {
    return std::exchange(offered, QString());
}

} // namespace quillo
