#pragma once

#include "core/LocalizedError.h"

#include <variant>

namespace quillo {

/// What the backend's client itself finds wrong; see `APIClient` for what else its operations throw.
class APIError : public LocalizedError {
public:
    /// A status other than success: "HTTP 503". -1 for an answer without a status.
    struct HTTP {
        int status;
        friend bool operator==(const HTTP&, const HTTP&) = default;
    };
    /// A live ledger that cannot be read: "Decode error: " and what is wrong with it.
    struct Decode {
        QString text;
        friend bool operator==(const Decode&, const Decode&) = default;
    };
    /// The backend's origin and the path make no URL: "Bad backend URL".
    struct BadURL {
        friend bool operator==(const BadURL&, const BadURL&) = default;
    };
    /// The backend refused the credential: "Sign-in rejected (401)".
    struct Unauthorized {
        friend bool operator==(const Unauthorized&, const Unauthorized&) = default;
    };
    using Case = std::variant<HTTP, Decode, BadURL, Unauthorized>;

    [[nodiscard]] static APIError http(int status) { return APIError(HTTP{status}); }
    [[nodiscard]] static APIError decode(QString text) { return APIError(Decode{std::move(text)}); }
    [[nodiscard]] static APIError badURL() { return APIError(BadURL{}); }
    [[nodiscard]] static APIError unauthorized() { return APIError(Unauthorized{}); }

    [[nodiscard]] const Case& which() const noexcept { return choice; }

private:
    explicit APIError(Case which);

    Case choice;
};

} // namespace quillo
