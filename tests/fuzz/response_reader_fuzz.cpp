#include "Require.h"
#include "net/ResponseReader.h"

#include <cstddef>
#include <cstdint>
#include <optional>

// Any bytes as what a socket brings, in pieces of any size, with the connection closed at any point: a
// response within its bounds or an error with a text, and the same one however the bytes are cut. The first
// two bytes say who wants the body and how the bytes are cut; the third whether the connection closes behind
// the rest.

namespace {

using namespace quillo;
using quillo::test::require;

constexpr qint64 bodyLimit = 1000;

/// What the caller learns; neither a response nor an error while more may come.
struct Outcome {
    std::optional<int> status = {};
    QByteArray body = {};
    QString error = {};

    /// Errors may be seen sooner or later, and as different ones: where a line has not ended, in small
    /// pieces.
    [[nodiscard]] bool isSameResponse(const Outcome& other) const {
        return status == other.status && body == other.body;
    }
};

Outcome outcomeOf(const QByteArray& bytes, BodyUse use, qsizetype pieceSize, bool closes) {
    ResponseReader reader(QStringLiteral("app.example"), use, bodyLimit);
    try {
        for (qsizetype at = 0; at < bytes.size() && !reader.isComplete(); at += pieceSize) {
            reader.feed(bytes.sliced(at, std::min(pieceSize, bytes.size() - at)));
        }
        if (closes && !reader.isComplete()) {
            reader.feed({});
            require(reader.isComplete());
        }
    } catch (const TransportError& error) {
        require(!error.errorDescription().isEmpty());
        return {.error = error.errorDescription()};
    }
    if (!reader.isComplete()) {
        return {};
    }
    const HTTPResponse response = reader.takeResponse();
    const bool isRefusal = response.status < 200 || response.status > 299;
    require(isRefusal ? response.body.size() <= 65'536 : response.body.size() <= bodyLimit);
    require(use == BodyUse::always || (use == BodyUse::onSuccess && !isRefusal) || response.body.isEmpty());
    return {.status = response.status, .body = response.body};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t choices = 3;
    if (size < choices) {
        return 0;
    }
    const auto use = static_cast<BodyUse>(data[0] % 3);
    const auto pieceSize = qsizetype{1} + data[1] % 64;
    const bool closes = data[2] % 2 == 1;
    const QByteArray bytes(reinterpret_cast<const char*>(data + choices),
                           static_cast<qsizetype>(size - choices));
    const Outcome whole = outcomeOf(bytes, use, std::max<qsizetype>(bytes.size(), 1), closes);
    require(outcomeOf(bytes, use, pieceSize, closes).isSameResponse(whole));
    require(outcomeOf(bytes, use, 1, closes).isSameResponse(whole));
    return 0;
}
