#pragma once

#include <QByteArray>

#include <zlib.h>

namespace quillo {

/// Decompresses the gzip format (RFC 1952) piece by piece, so that neither its memory nor the time of one
/// step depends on how far the data blows up.
class GzipDecoder {
public:
    GzipDecoder();
    ~GzipDecoder();
    GzipDecoder(const GzipDecoder&) = delete;
    GzipDecoder& operator=(const GzipDecoder&) = delete;

    /// Takes further compressed bytes; only when `needsInput`.
    void feed(QByteArray bytes);

    /// Whether everything that was fed has been decompressed.
    [[nodiscard]] bool needsInput() const noexcept { return stream.avail_in == 0 && !outputWaiting; }

    enum class Result { good, damaged };

    /// Appends a bounded piece of output.
    [[nodiscard]] Result decode(QByteArray& output);

    /// Whether the data may end here: at the end of a member with its checksum, or before the first byte.
    [[nodiscard]] bool isComplete() const noexcept { return betweenMembers && needsInput(); }

private:
    z_stream stream{};
    QByteArray input;
    bool betweenMembers = true;
    bool outputWaiting = false;
};

} // namespace quillo
