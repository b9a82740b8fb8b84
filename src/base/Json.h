#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::base {

using Json = nlohmann::json;

/// Why a text is not JSON. It never holds a piece of the text.
struct JsonError {
    enum class Kind {
        syntax,  ///< malformed, empty, not UTF-8 inside a string, or a number that no number type holds
        tooDeep, ///< nested deeper than `maximumJsonDepth`
    };

    Kind kind = Kind::syntax;
    std::size_t offset = 0; ///< of the byte where reading ended

    std::string errorDescription() const;

    bool operator==(const JsonError&) const = default;
};

/// Deepest nesting of arrays and objects that is read.
inline constexpr std::size_t maximumJsonDepth = 512;

/// Outcome of `parseJson`: a value or an error.
class ParsedJson {
public:
    explicit ParsedJson(Json value)
        : value_(std::move(value)) {}
    explicit ParsedJson(JsonError error)
        : error_(error) {}

    explicit operator bool() const { return value_.has_value(); }
    /// The value; only when there is one.
    Json& operator*() { return *value_; }
    const Json& operator*() const { return *value_; }
    Json* operator->() { return &*value_; }
    const Json* operator->() const { return &*value_; }
    /// The error; only when there is no value.
    const JsonError& error() const { return error_; }

private:
    std::optional<Json> value_;
    JsonError error_;
};

/// Reads one JSON value (RFC 8259) that fills all of `text`; a leading byte order mark is passed over, and of
/// equal keys the last counts. Any bytes, any thread; throws nothing but `std::bad_alloc`.
ParsedJson parseJson(std::string_view text);

/// Compact JSON with sorted keys. Bytes that are not UTF-8 are written as U+FFFD. Any thread.
std::string jsonText(const Json& value);

/// The member of an object; nullptr when `value` is no object or has no such key.
const Json* jsonMember(const Json& value, std::string_view key);

/// The member of that type; nothing when it is absent or of another type. Numbers with a fraction or an
/// exponent, and integers beyond 64 signed bits, are no integers; `jsonNumber` takes every number.
std::optional<std::string> jsonString(const Json& value, std::string_view key);
std::optional<std::int64_t> jsonInteger(const Json& value, std::string_view key);
std::optional<double> jsonNumber(const Json& value, std::string_view key);
std::optional<bool> jsonBool(const Json& value, std::string_view key);

/// The value itself as an integer, by the same rule.
std::optional<std::int64_t> asInteger(const Json& value);

} // namespace sonvale::base
