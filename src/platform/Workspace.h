#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace sonvale::platform {

/// The application in front, as the system reports it.
struct FrontApplication {
    std::optional<std::string>
        bundleIdentifier; ///< the macOS identifier if the program exists on both systems
    std::optional<std::string> localizedName;
    std::int32_t processIdentifier = 0; ///< 0 if the system does not say
    bool operator==(const FrontApplication&) const = default;
};

/// Pages of the system's settings, for `Workspace::openURL`. If a desktop has no such page, its settings open
/// at the nearest one.
namespace settings_page {
inline constexpr const char* microphone =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone";
inline constexpr const char* speechRecognition =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_SpeechRecognition";
inline constexpr const char* inputMonitoring =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent";
} // namespace settings_page

/// What the desktop knows about applications and the user. Main actor; each call returns within a few
/// milliseconds.
class Workspace {
public:
    Workspace() = default;
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    virtual ~Workspace() = default;

    /// Returns the application that has the keyboard, or nullopt if there is none. Never fails: a window that
    /// is destroyed meanwhile counts as none.
    virtual std::optional<FrontApplication> frontmostApplication() = 0;

    /// Opens an address (RFC 3986) in the desktop's program for it: a page of the web, a new mail, or a page
    /// of the system's settings. Starts that program and does not wait for it. Returns false if nothing was
    /// started: silently if the text is not an address, with a line in the log if there is no program for it.
    virtual bool openURL(const std::string& address) = 0;

    /// Returns the user's name in the account, such as "Ada King", or an empty text if there is none.
    virtual std::string fullUserName() = 0;
};

} // namespace sonvale::platform
