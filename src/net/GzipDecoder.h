#pragma once

#include <QByteArray>

#include <functional>

#define ZLIB_CONST
#include <zlib.h>

namespace quillo {

/// Decompresses the gzip format (RFC 1952) from pieces of any size.
class GzipDecoder {
public:
    GzipDecoder();
    ~GzipDecoder();
    GzipDecoder(const GzipDecoder&) = delete;
    GzipDecoder& operator=(const GzipDecoder&) = delete;

    /// Gives what the next bytes decompress to, up to a thousand times their size, to `take` in pieces, until
    /// that returns false. False when the bytes are damaged; nothing may be decoded after that.
    [[nodiscard]] bool decode(QByteArrayView bytes, const std::function<bool(QByteArrayView)>& take);

    /// Whether the data may end here: at the end of a member with its checksum, or before the first byte.
    [[nodiscard]] bool isComplete() const noexcept { return betweenMembers; }

private:
    z_stream stream{};
    bool betweenMembers = true;
};

} // namespace quillo
