#include "net/APIAuth.h"

namespace quillo {

void APIAuth::apply(HTTPRequest& request) const {
    if (const auto* bearer = std::get_if<Bearer>(&choice)) {
        request.setHeader("Authorization", "Bearer " + bearer->token.toUtf8());
    } else {
        request.setHeader("X-API-Key", std::get<APIKey>(choice).key.toUtf8());
    }
}

} // namespace quillo
