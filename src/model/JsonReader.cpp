#include "model/JsonReader.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace quillo {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace std::string_view_literals;

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// Stands in a document, as an object's only key, for a number that no double is near.
constexpr char beyondDoubles[] = "\x01 number beyond the doubles";

[[nodiscard]] bool isBeyondDoubles(simdjson::dom::element element) noexcept {
    simdjson::dom::object object;
    return element.get(object) == simdjson::SUCCESS && object.size() == 1 &&
           object.begin().key() == beyondDoubles;
}

[[nodiscard]] const char* kindOf(simdjson::dom::element element) noexcept {
    using simdjson::dom::element_type;
    switch (element.type()) {
    case element_type::ARRAY:
        return "an array";
    case element_type::OBJECT:
        return isBeyondDoubles(element) ? "a number out of range" : "an object";
    case element_type::INT64:
    case element_type::UINT64:
    case element_type::DOUBLE:
        return "a number";
    case element_type::STRING:
        return "text";
    case element_type::BOOL:
        return "a boolean";
    case element_type::NULL_VALUE:
        return "null";
    }
    return "something else";
}

[[nodiscard]] QString describe(simdjson::error_code error) {
    static const QHash<simdjson::error_code, QString> reasons{
        {simdjson::EMPTY, u"empty"_s},
        {simdjson::UTF8_ERROR, u"not UTF-8"_s},
        {simdjson::DEPTH_ERROR, u"nested too deeply"_s},
        {simdjson::CAPACITY, u"too large"_s},
        {simdjson::MEMALLOC, u"not enough memory to read it"_s},
        {simdjson::NUMBER_ERROR, u"not valid JSON (a number is malformed or out of range)"_s},
        {simdjson::STRING_ERROR, u"not valid JSON (a text is malformed)"_s},
        {simdjson::UNESCAPED_CHARS, u"not valid JSON (a text is malformed)"_s},
        {simdjson::UNCLOSED_STRING, u"not valid JSON (a text has no end)"_s},
        {simdjson::T_ATOM_ERROR, u"not valid JSON (an unknown word)"_s},
        {simdjson::F_ATOM_ERROR, u"not valid JSON (an unknown word)"_s},
        {simdjson::N_ATOM_ERROR, u"not valid JSON (an unknown word)"_s},
    };
    return u"body: "_s + reasons.value(error, u"not valid JSON"_s);
}

/// A number as simdjson reads it: its integers end at 64 bits, its doubles do not.
[[nodiscard]] QByteArray readable(QByteArrayView number) {
    static const QRegularExpression grammar(QRegularExpression::anchoredPattern(
        u"-?(0|[1-9][0-9]*)([.][0-9]+)?([eE][-+]?[0-9]+)?"_s)); // RFC 8259, section 6
    constexpr qsizetype mayBeBeyond = 308;
    const bool hasExponent = number.contains('e') || number.contains('E');
    bool isWithin64Bits = false;
    std::ignore = number.toLongLong(&isWithin64Bits);
    const bool isLongInteger = !isWithin64Bits && !number.contains('.') && !hasExponent;
    QByteArray written = number.toByteArray() + (isLongInteger ? "e0" : "");
    if (!hasExponent && number.size() <= mayBeBeyond) {
        return written;
    }
    simdjson::dom::parser parser;
    const bool isRead = parser.parse(written.constData(), static_cast<std::size_t>(written.size())).error() ==
                        simdjson::SUCCESS;
    const bool isBeyond = !isRead && grammar.match(QString::fromLatin1(number)).hasMatch();
    return isBeyond ? QByteArray("{\"\\u0001") + (beyondDoubles + 1) + "\":0}" : written;
}

/// The same document with every number made readable. What is no JSON stays none.
[[nodiscard]] QByteArray withReadableNumbers(QByteArrayView body) {
    constexpr auto digits = "-0123456789"sv;
    constexpr auto numberCharacters = "+-.0123456789Ee"sv;
    QByteArray result;
    for (qsizetype at = 0, end = 0; at < body.size(); at = end) {
        end = at + 1;
        if (digits.find(body[at]) != digits.npos) {
            while (end < body.size() && numberCharacters.find(body[end]) != numberCharacters.npos) {
                ++end;
            }
            result += readable(body.sliced(at, end - at));
            continue;
        }
        if (body[at] == '"') {
            while (end < body.size() && body[end] != '"') {
                end += body[end] == '\\' ? 2 : 1;
            }
            end = std::min(end + 1, body.size());
        }
        result += body.sliced(at, end - at);
    }
    return result;
}

} // namespace

QString JsonPath::text() const {
    if (parent == nullptr) {
        return u"body"_s;
    }
    const bool underRoot = parent->parent == nullptr;
    const QString before = underRoot && !key.empty() ? QString() : parent->text();
    if (key.empty()) {
        return before + u'[' + QString::number(index) + u']';
    }
    const QString name = stringFromUtf8(key);
    return underRoot ? name : before + u'.' + name;
}

std::int64_t JsonValue::integer() const {
    constexpr const char* expected = "an integer";
    if (found.is<std::int64_t>()) {
        return found.get<std::int64_t>().value_unsafe();
    }
    if (found.is<std::uint64_t>()) {
        refuse(expected, "a number out of range");
    }
    if (!found.is<double>()) {
        refuse(expected);
    }
    const double number = found.get<double>().value_unsafe();
    if (number != std::trunc(number)) {
        refuse(expected, "a number with a fraction");
    }
    constexpr double bound = 0x1p63;
    if (number < -bound || number >= bound) {
        refuse(expected, "a number out of range");
    }
    return static_cast<std::int64_t>(number);
}

simdjson::dom::object JsonValue::object() const {
    constexpr const char* expected = "an object";
    if (isBeyondDoubles(found)) {
        refuse(expected);
    }
    return get<simdjson::dom::object>(expected);
}

void JsonValue::refuse(const char* expected) const {
    refuse(expected, kindOf(found));
}

void JsonValue::refuse(const char* expected, const char* insteadFound) const {
    throw DecodingError(u"%1: expected %2, found %3"_s.arg(place.text(), QLatin1StringView(expected),
                                                           QLatin1StringView(insteadFound)));
}

JsonDocument::JsonDocument(QByteArray body) {
    if (std::string_view(body.constData(), static_cast<std::size_t>(body.size()))
            .starts_with(byteOrderMark)) {
        body.remove(0, byteOrderMark.size()); // moves no bytes
    }
    auto error = parse(body);
    if (error != simdjson::SUCCESS && error != simdjson::EMPTY) {
        body = withReadableNumbers(body);
        error = parse(body);
    }
    if (error != simdjson::SUCCESS) {
        throw DecodingError(describe(error));
    }
}

simdjson::error_code JsonDocument::parse(QByteArray& body) {
    // The parser reads a little past the end. Growing the only copy of a large array moves no bytes (the
    // system remaps its pages); any other is copied once, as the parser would.
    const qsizetype needed = body.size() + static_cast<qsizetype>(simdjson::SIMDJSON_PADDING);
    if (body.capacity() < needed) {
        body.reserve(needed);
    }
    if (body.isEmpty()) {
        return simdjson::EMPTY;
    }
    constexpr bool copyFirst = false;
    simdjson::dom::parser parser; // its indexes are as large as the body: they go before anything is decoded
    return parser
        .parse_into_document(document, body.constData(), static_cast<std::size_t>(body.size()), copyFirst)
        .get(top);
}

} // namespace quillo
