#include "platform/ActivationToken.h"

#include <utility>

namespace quillo {

namespace {

QString& offered() {
    static QString token;
    return token;
}

} // namespace

void ActivationToken::offer(const QString& token) {
    offered() = token;
}

QString ActivationToken::take() {
    return std::exchange(offered(), QString());
}

} // namespace quillo
