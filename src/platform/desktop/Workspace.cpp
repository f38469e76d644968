#include "platform/desktop/Workspace.h"

using namespace Qt::Literals::StringLiterals;

namespace quillo {

bool Workspace::open(const QUrl& url) const {
    const auto scheme = url.scheme(); // QUrl keeps it in lower case
    const bool isPage =
        url.isValid() && !url.host().isEmpty() && (scheme == "http"_L1 || scheme == "https"_L1);
    return isPage && opener(url);
}

} // namespace quillo
