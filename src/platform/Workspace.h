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

/// Pages of the system's settings, for `Workspace::openURL`. Where a desktop has no such page its settings
/// open at the nearest one.
namespace settings_page {
inline constexpr const char* microphone =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone";
inline constexpr const char* speechRecognition =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_SpeechRecognition";
inline constexpr const char* inputMonitoring =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent";
} // namespace settings_page

/// What the desktop knows about applications and the user. Main actor; each call answers within a few
/// milliseconds.
class Workspace {
public:
    Workspace() = default;
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    virtual ~Workspace() = default;

    /// The application that has the keyboard; absent when none has. Never fails: a window that goes away
    /// while it is asked about counts as none.
    virtual std::optional<FrontApplication> frontmostApplication() = 0;

    /// Opens an address (RFC 3986) with the desktop's program for it, which is started and left alone: a page
    /// of the web, a mail to be written, or a page of the system's settings. False when nothing was started:
    /// silently for a text that is no address, with a line in the log when there is no program for it.
    virtual bool openURL(const std::string& address) = 0;

    /// The user's name as the account has it, such as "Ada King"; empty when it has none.
    virtual std::string fullUserName() = 0;
};

} // namespace sonvale::platform
