#pragma once

#include "model/DecodingError.h"

#include <QString>

namespace quillo::test {

/// The text of the DecodingError that `decode` throws; "decoded" when it throws none.
template <typename Decode>
[[nodiscard]] QString decodingFailure(Decode decode) {
    try {
        static_cast<void>(decode());
    } catch (const DecodingError& error) {
        return error.errorDescription();
    }
    return QStringLiteral("decoded");
}

} // namespace quillo::test
