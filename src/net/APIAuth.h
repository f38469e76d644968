#pragma once

#include "net/HTTPMessage.h"

#include <QString>

#include <utility>
#include <variant>

namespace quillo {

/// How a request to the backend is authorised.
class APIAuth {
public:
    struct Bearer {
        QString token;
        friend bool operator==(const Bearer&, const Bearer&) = default;
    };
    struct APIKey {
        QString key;
        friend bool operator==(const APIKey&, const APIKey&) = default;
    };

    /// An access token of the browser sign-in.
    [[nodiscard]] static APIAuth bearer(QString token) { return APIAuth(Bearer{std::move(token)}); }
    /// The key that the user pasted into the settings.
    [[nodiscard]] static APIAuth apiKey(QString key) { return APIAuth(APIKey{std::move(key)}); }

    [[nodiscard]] const std::variant<Bearer, APIKey>& credential() const noexcept { return choice; }

    /// Writes the one header, `Authorization` or `X-API-Key`, in place of any of that name.
    void apply(HTTPRequest& request) const;

    friend bool operator==(const APIAuth&, const APIAuth&) = default;

private:
    explicit APIAuth(std::variant<Bearer, APIKey> credential) : choice(std::move(credential)) {}

    std::variant<Bearer, APIKey> choice;
};

} // namespace quillo
