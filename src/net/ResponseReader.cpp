// A final chunk that comes byte by byte trips an assertion of Beast 1.74 that nothing depends on, and a
// server must not end the program.
#define BOOST_DISABLE_ASSERTS

#include "net/ResponseReader.h"

#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/parser.hpp>

#include <algorithm>
#include <limits>
#include <utility>

namespace quillo {

using namespace Qt::Literals::StringLiterals;
using Reason = TransportError::Reason;
namespace http = boost::beast::http;

namespace {

constexpr qint64 headLimit = qint64{64} * 1024;
constexpr qint64 refusalLimit = qint64{64} * 1024;

constexpr bool isSuccess(int status) {
    return status >= 200 && status <= 299;
}

} // namespace

class ResponseReader::Parser : public http::response_parser<http::buffer_body> {
public:
    Parser() {
        header_limit(headLimit);
        body_limit(std::numeric_limits<std::uint64_t>::max()); // bounded here, by status and decompressed
    }
    [[nodiscard]] QByteArray field(http::field name) const {
        const auto value = get()[name];
        return QByteArray(value.data(), static_cast<qsizetype>(value.size())).toLower();
    }
};

ResponseReader::ResponseReader(QString server, BodyUse bodyUse, qint64 bodyLimit)
    : serverName(std::move(server)), use(bodyUse), limit(bodyLimit), parser(std::make_unique<Parser>()) {}

ResponseReader::~ResponseReader() = default;

void ResponseReader::feed(const QByteArray& bytes) {
    if (!bytes.isEmpty()) {
        unread += bytes;
        parse();
        return;
    }
    if (!parser->is_header_done()) {
        fail(Reason::interrupted, u"%1 closed the connection without an answer."_s);
    }
    boost::beast::error_code error;
    parser->put_eof(error);
    if (error) {
        fail(Reason::interrupted, u"The answer from %1 was cut short."_s);
    }
    finish();
}

void ResponseReader::parse() {
    qsizetype used = 0;
    boost::beast::error_code error;
    while (!complete && !error && used < unread.size()) {
        const auto rest = QByteArrayView(unread).sliced(used);
        const bool inHead = !parser->is_header_done();
        QByteArray body(rest.size(), Qt::Uninitialized);
        parser->get().body() = {body.data(), static_cast<std::size_t>(body.size()), true};
        const auto taken =
            parser->put({rest.data(), static_cast<std::size_t>(rest.size())}, error); // one element
        used += static_cast<qsizetype>(taken);
        if (!inHead) {
            body.chop(static_cast<qsizetype>(parser->get().body().size));
            readBody(body);
        } else if (headSize += static_cast<qint64>(taken); parser->is_header_done()) {
            readHead();
        }
        if (!complete && parser->is_done()) {
            finish();
        }
    }
    unread.remove(0, used);
    if (complete) {
        return;
    }
    if (error == http::error::header_limit || headSize + unread.size() > headLimit) {
        fail(Reason::tooLarge, u"The answer from %1 is too large."_s);
    }
    if (error && error != http::error::need_more) {
        fail(Reason::damaged, u"The answer from %1 is not valid HTTP."_s);
    }
}

void ResponseReader::readHead() {
    response.status = static_cast<int>(parser->get().result_int());
    if (response.status < 200 && response.status != 101) { // 101 ends HTTP, which nobody asked for
        parser = std::make_unique<Parser>();
        return;
    }
    if (use == BodyUse::never || (use == BodyUse::onSuccess && !isSuccess(response.status))) {
        complete = true;
        return;
    }
    if (!isSuccess(response.status)) {
        limit = refusalLimit;
    } else if (std::cmp_greater(parser->content_length().value_or(0), limit)) {
        fail(Reason::tooLarge, u"The answer from %1 is too large."_s);
    }
    const auto framing = parser->field(http::field::transfer_encoding);
    const auto encoding = parser->field(http::field::content_encoding);
    if (encoding == "gzip" || encoding == "x-gzip") {
        decoder.emplace();
    } else if (!encoding.isEmpty() && encoding != "identity") {
        giveUpBody(Reason::damaged, u"%1 answered in a compression that was not asked for."_s);
    }
    if (!framing.isEmpty() && framing != "chunked") {
        giveUpBody(Reason::damaged, u"%1 answered in an encoding that was not asked for."_s);
    }
}

void ResponseReader::readBody(QByteArrayView piece) {
    received += piece.size();
    if (!decoder) {
        append(piece);
    } else if (!decoder->decode(piece, [this](QByteArrayView decoded) { return append(decoded); })) {
        giveUpBody(Reason::damaged, u"The compressed answer from %1 is damaged."_s);
    }
}

bool ResponseReader::append(QByteArrayView decoded) {
    auto& body = response.body;
    if (body.size() + decoded.size() > body.capacity()) {
        body.reserve(2 * body.size() +
                     decoded.size()); // moves pages, where growing by itself copies megabytes
    }
    body += decoded;
    if (std::max<qint64>(received, body.size()) <= limit) {
        return true;
    }
    if (isSuccess(response.status)) {
        fail(Reason::tooLarge, u"The answer from %1 is too large."_s);
    }
    body.truncate(limit);
    while (!body.isEmpty() && (body.back() & 0x80) != 0) {
        body.chop(1); // not through the middle of a character
    }
    complete = true;
    return false;
}

void ResponseReader::finish() {
    if (decoder && !decoder->isComplete()) {
        giveUpBody(Reason::interrupted, u"The answer from %1 was cut short."_s);
    }
    complete = true;
}

void ResponseReader::giveUpBody(Reason reason, const QString& text) {
    if (isSuccess(response.status)) {
        fail(reason, text);
    }
    response.body.clear();
    complete = true;
}

void ResponseReader::fail(Reason reason, const QString& text) const {
    throw TransportError(reason, text.arg(serverName));
}

} // namespace quillo
