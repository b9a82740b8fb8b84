#include "tests/cases/runner/JsonComparison.h"

#include <algorithm>
#include <cmath>

namespace sonvale::tests {

using nlohmann::json;

namespace {

bool isSameNumber(const json& wanted, const json& got, std::optional<double> tolerance) {
    if (wanted == got)
        return true;
    if (!tolerance && wanted.is_number_integer() && got.is_number_integer())
        return false;
    return std::abs(wanted.get<double>() - got.get<double>()) <= tolerance.value_or(1e-4);
}

} // namespace

bool isSameJson(const json& wanted, const json& got, std::optional<double> tolerance) {
    if (wanted.is_number() && got.is_number())
        return isSameNumber(wanted, got, tolerance);
    if (wanted.is_array() && got.is_array()) {
        return std::equal(wanted.begin(), wanted.end(), got.begin(), got.end(),
                          [tolerance](const json& a, const json& b) { return isSameJson(a, b, tolerance); });
    }
    if (wanted.is_object() && got.is_object()) {
        const auto& wantedMembers = wanted.get_ref<const json::object_t&>();
        const auto& gotMembers = got.get_ref<const json::object_t&>();
        // Both are sorted by key.
        return std::equal(wantedMembers.begin(), wantedMembers.end(), gotMembers.begin(), gotMembers.end(),
                          [tolerance](const auto& a, const auto& b) {
                              return a.first == b.first && isSameJson(a.second, b.second, tolerance);
                          });
    }
    return wanted == got;
}

} // namespace sonvale::tests
