#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::base {

using Json = nlohmann::json;

/// An error of parsing JSON. It never contains a piece of the text.
struct JsonError {
    enum class Kind {
        syntax,  ///< malformed, empty, not UTF-8 inside a string, or a number that no number type holds
        tooDeep, ///< nested deeper than `maximumJsonDepth`
    };

    Kind kind = Kind::syntax;
    std::size_t offset = 0; ///< offset of the byte where parsing ended

    std::string errorDescription() const;

    bool operator==(const JsonError&) const = default;
};

/// The maximum nesting of arrays and objects that `parseJson` accepts.
inline constexpr std::size_t maximumJsonDepth = 512;

/// The result of `parseJson`: a value or an error.
class ParsedJson {
public:
    explicit ParsedJson(Json value)
        : value_(std::move(value)) {}
    explicit ParsedJson(JsonError error)
        : error_(error) {}

    explicit operator bool() const { return value_.has_value(); }
    /// Returns the value. There must be one.
    Json& operator*() { return *value_; }
    const Json& operator*() const { return *value_; }
    Json* operator->() { return &*value_; }
    const Json* operator->() const { return &*value_; }
    /// Returns the error. There must be no value.
    const JsonError& error() const { return error_; }

private:
    std::optional<Json> value_;
    JsonError error_;
};

/// Parses one JSON value (RFC 8259) that fills all of `text`. Accepts any bytes. Ignores a leading byte order
/// mark. Of equal keys the last one counts. Throws only `std::bad_alloc`. Any thread.
ParsedJson parseJson(std::string_view text);

/// Returns compact JSON with sorted keys. Replaces bytes that are not UTF-8 by U+FFFD. Any thread.
std::string jsonText(const Json& value);

/// Returns the member of an object; nullptr if `value` is not an object or has no such key.
const Json* jsonMember(const Json& value, std::string_view key);

/// Return the member if it has that type; nullopt otherwise. A number with a fraction or an exponent, or an
/// integer beyond 64 signed bits, is not an integer. `jsonNumber` accepts every number.
std::optional<std::string> jsonString(const Json& value, std::string_view key);
std::optional<std::int64_t> jsonInteger(const Json& value, std::string_view key);
std::optional<double> jsonNumber(const Json& value, std::string_view key);
std::optional<bool> jsonBool(const Json& value, std::string_view key);

/// Returns the value itself if it is an integer by the same rule.
std::optional<std::int64_t> asInteger(const Json& value);

} // namespace sonvale::base
