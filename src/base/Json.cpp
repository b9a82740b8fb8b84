#include "base/Json.h"

#include <fmt/format.h>

#include <limits>

namespace sonvale::base {

namespace {

/// Returns the offset where the nesting exceeds the limit. Ignores brackets within strings. The result does
/// not matter for text that is not JSON, because the parser then refuses it.
std::optional<std::size_t> depthExceededAt(std::string_view text) {
    std::size_t depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char byte = text[i];
        if (inString) {
            if (byte == '\\')
                ++i;
            else if (byte == '"')
                inString = false;
        } else if (byte == '"') {
            inString = true;
        } else if (byte == '[' || byte == '{') {
            if (++depth > maximumJsonDepth)
                return i;
        } else if ((byte == ']' || byte == '}') && depth > 0) {
            --depth;
        }
    }
    return std::nullopt;
}

} // namespace

std::string JsonError::errorDescription() const {
    switch (kind) {
    case Kind::syntax:
        return fmt::format("not JSON at byte {}", offset);
    case Kind::tooDeep:
        return fmt::format("JSON nested too deeply at byte {}", offset);
    }
    return "not JSON";
}

ParsedJson parseJson(std::string_view text) {
    if (const auto offset = depthExceededAt(text))
        return ParsedJson(JsonError{JsonError::Kind::tooDeep, *offset});
    // The library treats a zero byte as the end of the text.
    if (const auto offset = text.find('\0'); offset != std::string_view::npos)
        return ParsedJson(JsonError{JsonError::Kind::syntax, offset});
    try {
        return ParsedJson(Json::parse(text));
    } catch (const Json::parse_error& error) {
        return ParsedJson(JsonError{JsonError::Kind::syntax, error.byte});
    } catch (const Json::exception&) {
        // The number is out of range. The library does not report its offset.
        return ParsedJson(JsonError{JsonError::Kind::syntax, 0});
    }
}

std::string jsonText(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const Json* jsonMember(const Json& value, std::string_view key) {
    if (!value.is_object())
        return nullptr;
    const auto found = value.find(key);
    return found == value.end() ? nullptr : &*found;
}

std::optional<std::string> jsonString(const Json& value, std::string_view key) {
    const auto* member = jsonMember(value, key);
    if (member == nullptr || !member->is_string())
        return std::nullopt;
    return member->get<std::string>();
}

std::optional<std::int64_t> asInteger(const Json& value) {
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return std::nullopt;
        return static_cast<std::int64_t>(number);
    }
    if (value.is_number_integer())
        return value.get<std::int64_t>();
    return std::nullopt;
}

std::optional<std::int64_t> jsonInteger(const Json& value, std::string_view key) {
    const auto* member = jsonMember(value, key);
    return member == nullptr ? std::nullopt : asInteger(*member);
}

std::optional<double> jsonNumber(const Json& value, std::string_view key) {
    const auto* member = jsonMember(value, key);
    if (member == nullptr || !member->is_number())
        return std::nullopt;
    return member->get<double>();
}

std::optional<bool> jsonBool(const Json& value, std::string_view key) {
    const auto* member = jsonMember(value, key);
    if (member == nullptr || !member->is_boolean())
        return std::nullopt;
    return member->get<bool>();
}

} // namespace sonvale::base
