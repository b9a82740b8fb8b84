#pragma once

#include <nlohmann/json.hpp>

#include <optional>

namespace sonvale::tests {

/// Returns whether two JSON values mean the same: objects by key, arrays in order, numbers by value. With a
/// `tolerance` every number may differ by that much; without one whole numbers must be equal, others within
/// 1e-4.
bool isSameJson(const nlohmann::json& wanted, const nlohmann::json& got,
                std::optional<double> tolerance = {});

} // namespace sonvale::tests
