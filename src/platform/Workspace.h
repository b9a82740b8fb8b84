#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace sonvale::platform {

/// The application in front, as the system tells it.
struct FrontApplication {
    std::optional<std::string>
        bundleIdentifier; ///< macOS identifier where the program has one on both systems
    std::optional<std::string> localizedName;
    std::int32_t processIdentifier = 0; ///< 0 when the system does not tell
    bool operator==(const FrontApplication&) const = default;
};

/// What the desktop knows about applications. Main actor; each call answers within a few milliseconds.
class Workspace {
public:
    Workspace() = default;
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    virtual ~Workspace() = default;

    /// The application that has the keyboard; absent when none has. Never fails: a window that goes away
    /// while it is asked about counts as none.
    virtual std::optional<FrontApplication> frontmostApplication() = 0;
};

} // namespace sonvale::platform
