#include "core/LocalizedError.h"

#include <utility>

namespace quillo {

LocalizedError::LocalizedError(QString text) : description(std::move(text)), utf8(description.toUtf8()) {}

QString errorDescription(const std::exception& error) {
    if (const auto* localized = dynamic_cast<const LocalizedError*>(&error)) {
        return localized->errorDescription();
    }
    return QString::fromUtf8(error.what());
}

} // namespace quillo
