#include "tests/cases/runner/CaseInput.h"

#include <cmath>

namespace sonvale::tests {

using nlohmann::json;

namespace {

[[noreturn]] void refuse(const char* name, const char* wanted) {
    throw BadCase(std::string("\"") + name + "\" is no " + wanted);
}

} // namespace

const json& field(const json& in, const char* name) {
    const auto entry = in.find(name);
    if (entry == in.end())
        throw BadCase(std::string("\"") + name + "\" is missing");
    return *entry;
}

std::string text(const json& in, const char* name) {
    const auto& value = field(in, name);
    if (!value.is_string())
        refuse(name, "string");
    return value.get<std::string>();
}

std::optional<std::string> textOrNull(const json& in, const char* name) {
    return field(in, name).is_null() ? std::nullopt : std::optional(text(in, name));
}

std::int64_t integer(const json& in, const char* name) {
    const auto& value = field(in, name);
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX)
        refuse(name, "signed 64-bit integer");
    if (value.is_number_integer())
        return value.get<std::int64_t>();
    // A whole number from a program without integers.
    if (const auto number = value.is_number_float() ? value.get<double>() : NAN;
        std::trunc(number) == number && std::abs(number) < 0x1p63)
        return static_cast<std::int64_t>(number);
    refuse(name, "integer");
}

std::uint64_t unsignedInteger(const json& in, const char* name) {
    const auto& value = field(in, name);
    if (value.is_number_unsigned())
        return value.get<std::uint64_t>();
    const auto number = integer(in, name);
    if (number < 0)
        refuse(name, "unsigned integer");
    return static_cast<std::uint64_t>(number);
}

double number(const json& in, const char* name) {
    const auto& value = field(in, name);
    if (!value.is_number())
        refuse(name, "number");
    return value.get<double>();
}

bool boolean(const json& in, const char* name) {
    const auto& value = field(in, name);
    if (!value.is_boolean())
        refuse(name, "bool");
    return value.get<bool>();
}

const json& array(const json& in, const char* name) {
    const auto& value = field(in, name);
    if (!value.is_array())
        refuse(name, "array");
    return value;
}

} // namespace sonvale::tests
