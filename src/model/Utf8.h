#pragma once

#include <QByteArrayView>
#include <QString>

namespace quillo {

/// The text of valid UTF-8, every character of it: QString::fromUtf8 drops a byte-order mark at the start,
/// which within a document is a character like any other.
[[nodiscard]] QString stringFromUtf8(QByteArrayView utf8);

} // namespace quillo
