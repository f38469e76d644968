#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quillo {

/// What the identity provider sends back through the browser (RFC 6749, section 4.1.2).
struct LoopbackCallback {
    QString code;
    QString state;

    [[nodiscard]] bool operator==(const LoopbackCallback&) const = default;
};

/// Reads the head of the redirected request: of its first line, whose method, path and version do not matter,
/// the first `code` and the first `state` in the query. Absent unless both are there with a value, which may
/// be empty.
[[nodiscard]] std::optional<LoopbackCallback> parseCallback(const QString& requestHead);

/// The whole answer to the browser.
[[nodiscard]] QByteArray callbackResponse(bool succeeded);

} // namespace quillo
