#pragma once

#include "core/LocalizedError.h"

namespace quillo {

using namespace Qt::Literals::StringLiterals;

/// What the backend's client itself finds wrong; see `APIClient` for what else its operations throw.
class APIError final : public LocalizedError {
public:
    /// A status other than success; -1 for an answer without a status.
    [[nodiscard]] static APIError http(int status) { return APIError(u"HTTP %1"_s.arg(status)); }
    /// A live ledger that cannot be read; `text` is what is wrong with it.
    [[nodiscard]] static APIError decode(const QString& text) { return APIError(u"Decode error: "_s + text); }
    /// The backend's origin and the path make no URL.
    [[nodiscard]] static APIError badURL() { return APIError(u"Bad backend URL"_s); }
    /// The backend refused the credential.
    [[nodiscard]] static APIError unauthorized() { return APIError(u"Sign-in rejected (401)"_s); }

private:
    using LocalizedError::LocalizedError;
};

} // namespace quillo
