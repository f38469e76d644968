#include "Require.h"
#include "net/GzipDecoder.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include <zlib.h>

// Any bytes as compressed ones: damaged or not, whole or not, and decompressed to the same, however they are
// cut. And any bytes come back out of what zlib makes of them.

namespace {

using namespace quillo;
using quillo::test::require;

constexpr qsizetype limit = 1 << 20;

struct Outcome {
    bool isGood = true;
    bool isComplete = false;
    QByteArray plain = {};

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

Outcome decoded(QByteArrayView bytes, qsizetype pieceSize) {
    GzipDecoder decoder;
    Outcome outcome;
    const auto take = [&outcome](QByteArrayView piece) {
        outcome.plain += piece;
        return outcome.plain.size() <= limit;
    };
    for (qsizetype at = 0; at < bytes.size() && outcome.plain.size() <= limit; at += pieceSize) {
        if (!decoder.decode(bytes.sliced(at, std::min(pieceSize, bytes.size() - at)), take)) {
            return {.isGood = false};
        }
    }
    if (outcome.plain.size() > limit) {
        return {.isGood = false};
    }
    outcome.isComplete = decoder.isComplete();
    return outcome;
}

QByteArray compressed(QByteArrayView plain) {
    z_stream stream{};
    constexpr int gzipFormat = 16;
    require(deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, MAX_WBITS + gzipFormat, 8,
                         Z_DEFAULT_STRATEGY) == Z_OK);
    QByteArray bytes(static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(plain.size()))), '\0');
    stream.next_in = reinterpret_cast<const Bytef*>(plain.data());
    stream.avail_in = static_cast<uInt>(plain.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    require(deflate(&stream, Z_FINISH) == Z_STREAM_END);
    bytes.truncate(static_cast<qsizetype>(stream.total_out));
    deflateEnd(&stream);
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    const qsizetype pieceSize = size == 0 ? 1 : 1 + data[0] % 32;
    const Outcome whole = decoded(bytes, std::max<qsizetype>(bytes.size(), 1));
    require(decoded(bytes, pieceSize) == whole);
    require(decoded(bytes, 1) == whole);
    const Outcome back = decoded(compressed(bytes), pieceSize);
    require(back == Outcome{.isGood = true, .isComplete = true, .plain = bytes.toByteArray()});
    return 0;
}
