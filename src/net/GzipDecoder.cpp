#include "net/GzipDecoder.h"

#include <array>
#include <new>

namespace quillo {

GzipDecoder::GzipDecoder() {
    constexpr int gzipOnly = 16; // zlib's flag for "a gzip header and trailer, nothing else"
    if (inflateInit2(&stream, MAX_WBITS + gzipOnly) != Z_OK) {
        throw std::bad_alloc();
    }
}

GzipDecoder::~GzipDecoder() {
    inflateEnd(&stream);
}

bool GzipDecoder::decode(QByteArrayView bytes, const std::function<bool(QByteArrayView)>& take) {
    std::array<char, 32768> piece;
    stream.next_in = reinterpret_cast<const Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(bytes.size());
    // A full piece may have more behind it.
    while (stream.avail_in > 0 || (stream.avail_out == 0 && !betweenMembers)) {
        if (betweenMembers) {
            inflateReset(&stream);
        }
        stream.next_out = reinterpret_cast<Bytef*>(piece.data());
        stream.avail_out = static_cast<uInt>(piece.size());
        const int result = inflate(&stream, Z_NO_FLUSH);
        // Z_BUF_ERROR: the piece before was full at exactly the last byte, and there was nothing more to do.
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
            return false;
        }
        betweenMembers = result == Z_STREAM_END;
        if (!take({piece.data(), static_cast<qsizetype>(piece.size() - stream.avail_out)})) {
            break;
        }
    }
    return true;
}

} // namespace quillo
