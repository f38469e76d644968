#include "auth/LoopbackCallback.h"

#include "model/Text.h"

#include <QUrl>

namespace quillo {

namespace {

/// Percent-decoded (RFC 3986, section 2.1; "+" stays); absent when the result is not UTF-8.
std::optional<QString> decoded(QStringView component) {
    const auto bytes = QByteArray::fromPercentEncoding(component.toUtf8());
    if (!bytes.isValidUtf8()) {
        return std::nullopt;
    }
    return stringFromUtf8(bytes);
}

/// The value of the first item of that name; absent when that item has no "=".
std::optional<QString> firstValue(QStringView query, QStringView name) {
    for (const auto item : query.tokenize(u'&')) {
        const auto separator = item.indexOf(u'=');
        const auto itemName = separator < 0 ? item : item.left(separator);
        if (decoded(itemName) == name) {
            return separator < 0 ? std::nullopt : decoded(item.mid(separator + 1));
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<LoopbackCallback> parseCallback(const QString& requestHead) {
    const auto lineEnd = requestHead.indexOf(u"\r\n");
    const auto requestLine = lineEnd < 0 ? QStringView(requestHead) : QStringView(requestHead).left(lineEnd);
    const auto pieces = requestLine.split(u' ', Qt::SkipEmptyParts);
    if (pieces.size() < 2) {
        return std::nullopt;
    }
    const QUrl target(pieces[1].toString(), QUrl::StrictMode);
    if (!target.isValid()) {
        return std::nullopt;
    }
    const auto query = target.query(QUrl::FullyEncoded);
    auto code = firstValue(query, u"code");
    auto state = firstValue(query, u"state");
    if (!code || !state) {
        return std::nullopt;
    }
    return LoopbackCallback{.code = std::move(*code), .state = std::move(*state)};
}

QByteArray callbackResponse(bool succeeded) {
    const QByteArray body =
        succeeded ? "<h2 style='font-family:sans-serif'>Signed in &#10003;</h2>"
                    "<p style='font-family:sans-serif'>You can close this tab and return to Quillo.</p>"
                  : "<h2 style='font-family:sans-serif'>Sign-in failed</h2>"
                    "<p style='font-family:sans-serif'>Return to Quillo and try again.</p>";
    return "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\nContent-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

} // namespace quillo
