#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace sonvale::textprocessing {

/// The front application at one time.
struct FocusedAppInfo {
    /// nullopt for a process without one, or if no application is in front
    std::optional<std::string> bundleID;
    std::string appName = "Unknown";
    std::int32_t processID = 0; ///< 0 if no application is in front

    bool operator==(const FocusedAppInfo&) const = default;
};

} // namespace sonvale::textprocessing
