#pragma once

#include "model/DecodingError.h"
#include "model/Text.h"

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <simdjson.h>

/// Strict reading of JSON (RFC 8259) whose errors name the place. For a body like
/// `{"access_token": "…", "expires_in": 300}`:
///
///     const JsonDocument document(body);
///     const JsonMembers<"access_token", "refresh_token", "expires_in"> members(document.root());
///     const auto accessToken = members.required<"access_token", QString>();
///     const auto refreshToken = members.optional<"refresh_token", QString>();
///     const auto seconds = members.required<"expires_in", double>();
///
/// Every reading function throws DecodingError. A required member that is missing or null is an error; an
/// optional one is absent when missing or null, and an error when of another type.
namespace quillo {

using namespace Qt::Literals::StringLiterals;

/// How a value was reached from the root. A node points to its parent, which the reader of the enclosing
/// object or list keeps.
struct JsonPath {
    const JsonPath* parent = nullptr;
    std::string_view key = {}; ///< member name; empty for the root and for elements of a list
    std::size_t index = 0;

    /// `transactions[3].pending`; `body` for the root.
    [[nodiscard]] QString text() const;
};

/// One value of a document. Valid as long as the document and the reader it came from live.
class JsonValue {
public:
    JsonValue(simdjson::dom::element element, const JsonPath& path) noexcept : found(element), place(path) {}

    [[nodiscard]] bool isNull() const noexcept { return found.is_null(); }
    [[nodiscard]] const JsonPath& path() const noexcept { return place; }

    /// Reads the value as one of these, and throws when it is of another type:
    /// - `QString`: a text; `std::string_view`: its bytes in the document's own memory;
    /// - `double`: any number, rounded to the nearest double;
    /// - `std::int64_t`: a whole number within 64 bits, however written: 1, 1.0 and 1e0 are the same number
    ///   (RFC 8259, section 6);
    /// - `bool`;
    /// - `JsonValue`: itself, whatever it is.
    template <typename T>
    [[nodiscard]] T as() const {
        if constexpr (std::is_same_v<T, JsonValue>) {
            return *this;
        } else if constexpr (std::is_same_v<T, QString>) {
            return stringFromUtf8(as<std::string_view>());
        } else if constexpr (std::is_same_v<T, std::int64_t>) {
            return integer();
        } else if constexpr (std::is_same_v<T, double>) {
            return get<double>("a number");
        } else if constexpr (std::is_same_v<T, bool>) {
            return get<bool>("a boolean");
        } else {
            return get<std::string_view>("text");
        }
    }
    [[nodiscard]] simdjson::dom::object object() const;

    /// The elements of an array in their order, each made by `decode(const JsonValue&)`.
    template <typename Decode>
    [[nodiscard]] auto list(Decode decode) const {
        const auto array = get<simdjson::dom::array>("an array");
        std::vector<std::invoke_result_t<Decode&, const JsonValue&>> decoded;
        decoded.reserve(array.size());
        for (const simdjson::dom::element element : array) {
            decoded.push_back(decode(JsonValue(element, JsonPath{&place, {}, decoded.size()})));
        }
        return decoded;
    }

private:
    template <typename T>
    [[nodiscard]] T get(const char* expected) const {
        T value{};
        if (found.get<T>().get(value) != simdjson::SUCCESS) {
            refuse(expected);
        }
        return value;
    }

    [[nodiscard]] std::int64_t integer() const;
    [[noreturn]] void refuse(const char* expected) const;
    [[noreturn]] void refuse(const char* expected, const char* insteadFound) const;

    simdjson::dom::element found;
    JsonPath place;
};

/// A body, checked whole when constructed: its syntax, UTF-8, nesting (up to 1,024 levels), and that nothing
/// follows it. Numbers may be of any length; those beyond the doubles are refused only where one is read. A
/// byte-order mark at the start is skipped.
///
/// It costs a multiple of the body in memory, so it is a local of the function that decodes and never kept.
class JsonDocument {
public:
    /// Takes the body, so that one that nobody shares is read in place; throws DecodingError when it is no
    /// JSON.
    explicit JsonDocument(QByteArray body);
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;

    [[nodiscard]] JsonValue root() const noexcept { return {top, JsonPath{}}; }

private:
    [[nodiscard]] simdjson::error_code parse(QByteArray& body);

    simdjson::dom::document document;
    simdjson::dom::element top;
};

/// A member name as a template argument.
template <std::size_t size>
struct JsonKey {
    consteval JsonKey(const char (&literal)[size]) { std::copy_n(literal, size, characters); }
    [[nodiscard]] constexpr std::string_view name() const noexcept { return {characters, size - 1}; }

    char characters[size] = {};
};

/// The members of one object that somebody reads. Names match exactly, other members are passed over, and of
/// a repeated name the last counts. Asking for a name that is not in the list does not compile.
///
/// The object is gone through once; it is quickest when the members come in the order of the list.
template <JsonKey... keys>
class JsonMembers {
public:
    /// Throws when `value` is no object.
    explicit JsonMembers(const JsonValue& value) : here(value.path()) {
        const simdjson::dom::object object = value.object();
        auto field = object.begin();
        const auto end = object.end();
        takeInOrder(field, end, std::make_index_sequence<names.size()>());
        for (; field != end; ++field) {
            const auto* const found = std::find(names.begin(), names.end(), field.key());
            if (found != names.end()) {
                take(static_cast<std::size_t>(found - names.begin()), field);
            }
        }
    }
    JsonMembers(const JsonMembers&) = delete;
    JsonMembers& operator=(const JsonMembers&) = delete;

    /// The member as JsonValue::as gives it; throws when it is missing.
    template <JsonKey key, typename T>
    [[nodiscard]] T required() const {
        if (!has<key>()) {
            refuseMissing(path<key>());
        }
        return value<key>().template as<T>();
    }

    /// The same unless it is missing or null.
    template <JsonKey key, typename T>
    [[nodiscard]] std::optional<T> optional() const {
        if (!has<key>() || values[index<key>()].is_null()) {
            return std::nullopt;
        }
        return value<key>().template as<T>();
    }

    /// See JsonValue::list.
    template <JsonKey key, typename Decode>
    [[nodiscard]] auto list(Decode decode) const {
        return required<key, JsonValue>().list(std::move(decode));
    }

private:
    static constexpr std::array<std::string_view, sizeof...(keys)> names{keys.name()...};
    static_assert(names.size() <= 32, "one bit each");

    [[nodiscard]] static constexpr std::uint32_t bit(std::size_t position) noexcept {
        return std::uint32_t{1} << position;
    }

    void take(std::size_t position, const simdjson::dom::object::iterator& field) noexcept {
        values[position] = field.value();
        present |= bit(position);
    }

    /// Takes fields as long as they come in the order of the list: a comparison with one constant each.
    template <std::size_t... positions>
    void takeInOrder(simdjson::dom::object::iterator& field, const simdjson::dom::object::iterator& end,
                     std::index_sequence<positions...>) noexcept {
        const auto takeIfNext = [&](auto position) {
            constexpr std::string_view name = names[position()];
            if (field != end && field.key_length() == name.size() &&
                std::memcmp(field.key_c_str(), name.data(), name.size()) == 0) {
                take(position(), field);
                ++field;
            }
        };
        (takeIfNext(std::integral_constant<std::size_t, positions>()), ...);
    }

    template <JsonKey key>
    [[nodiscard]] static consteval std::size_t index() {
        return static_cast<std::size_t>(std::find(names.begin(), names.end(), key.name()) - names.begin());
    }

    template <JsonKey key>
    [[nodiscard]] bool has() const noexcept {
        static_assert(index<key>() < names.size(), "the name is missing in the list of keys");
        return (present & bit(index<key>())) != 0;
    }

    template <JsonKey key>
    [[nodiscard]] JsonPath path() const noexcept {
        return {&here, names[index<key>()]};
    }

    template <JsonKey key>
    [[nodiscard]] JsonValue value() const noexcept {
        return {values[index<key>()], path<key>()};
    }

    [[noreturn]] static void refuseMissing(const JsonPath& path) {
        throw DecodingError(path.text() + u": missing"_s);
    }

    JsonPath here;
    std::array<simdjson::dom::element, sizeof...(keys)> values;
    std::uint32_t present = 0;
};

} // namespace quillo
