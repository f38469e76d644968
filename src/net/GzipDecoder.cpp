#include "net/GzipDecoder.h"

#include <array>
#include <new>
#include <utility>

namespace quillo {

namespace {

/// zlib's flag for "a gzip header and trailer, nothing else", added to the window size.
constexpr int gzipOnly = 16;

} // namespace

GzipDecoder::GzipDecoder() {
    if (inflateInit2(&stream, MAX_WBITS + gzipOnly) != Z_OK) {
        throw std::bad_alloc();
    }
}

GzipDecoder::~GzipDecoder() {
    inflateEnd(&stream);
}

void GzipDecoder::feed(QByteArray bytes) {
    input = std::move(bytes);
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
}

GzipDecoder::Result GzipDecoder::decode(QByteArray& output) {
    if (needsInput()) {
        return Result::good;
    }
    if (betweenMembers) {
        inflateReset(&stream);
        betweenMembers = false;
    }
    std::array<char, 32768> piece;
    stream.next_out = reinterpret_cast<Bytef*>(piece.data());
    stream.avail_out = static_cast<uInt>(piece.size());
    const int result = inflate(&stream, Z_NO_FLUSH);
    // Z_BUF_ERROR: the output was full at exactly the last byte, and there was nothing more to do.
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
        return Result::damaged;
    }
    output.append(piece.data(), static_cast<qsizetype>(piece.size() - stream.avail_out));
    betweenMembers = result == Z_STREAM_END;
    outputWaiting = result == Z_OK && stream.avail_out == 0;
    return Result::good;
}

} // namespace quillo
