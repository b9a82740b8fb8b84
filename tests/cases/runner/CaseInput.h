#pragma once

#include "tests/cases/runner/CaseRegistry.h"

#include <cstdint>
#include <optional>
#include <string>

/// Reads the `in` of a case. All functions throw `BadCase` if a value is missing or of another type.
namespace sonvale::tests {

const nlohmann::json& field(const nlohmann::json& in, const char* name);
std::string text(const nlohmann::json& in, const char* name);
/// Returns nullopt for null.
std::optional<std::string> textOrNull(const nlohmann::json& in, const char* name);
std::int64_t integer(const nlohmann::json& in, const char* name);
std::uint64_t unsignedInteger(const nlohmann::json& in, const char* name);
double number(const nlohmann::json& in, const char* name);
bool boolean(const nlohmann::json& in, const char* name);
const nlohmann::json& array(const nlohmann::json& in, const char* name);

/// Returns `value`. Throws `BadCase`, which says that `what` is unknown, if there is none.
template <class T>
T known(std::optional<T> value, const std::string& what) {
    if (!value)
        throw BadCase("unknown " + what);
    return *std::move(value);
}

} // namespace sonvale::tests
