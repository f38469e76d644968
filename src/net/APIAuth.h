#pragma once

#include "net/HTTPMessage.h"

#include <QByteArray>
#include <QString>

#include <utility>

namespace quillo {

/// How a request to the backend is authorised.
class APIAuth {
public:
    /// An access token of the browser sign-in.
    [[nodiscard]] static APIAuth bearer(const QString& token) {
        return {"Authorization", "Bearer " + token.toUtf8()};
    }
    /// The key that the user pasted into the settings.
    [[nodiscard]] static APIAuth apiKey(const QString& key) { return {"X-API-Key", key.toUtf8()}; }

    /// Writes the one header, `Authorization` or `X-API-Key`, in place of any of that name.
    void apply(HTTPRequest& request) const { request.setHeader(header, credential); }

private:
    APIAuth(QByteArray name, QByteArray value) : header(std::move(name)), credential(std::move(value)) {}

    QByteArray header;
    QByteArray credential;
};

} // namespace quillo
