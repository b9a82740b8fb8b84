#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace sonvale::textprocessing {

/// The application in front at one moment.
struct FocusedAppInfo {
    std::optional<std::string> bundleID; ///< absent for a process without one, or when nothing is in front
    std::string appName = "Unknown";
    std::int32_t processID = 0; ///< 0 when nothing is in front

    bool operator==(const FocusedAppInfo&) const = default;
};

} // namespace sonvale::textprocessing
