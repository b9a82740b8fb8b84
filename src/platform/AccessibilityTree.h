#pragma once

#include <optional>
#include <string>

namespace sonvale::platform {

/// The permission to act in other applications, and what those expose. Main actor.
class AccessibilityTree {
public:
    AccessibilityTree() = default;
    AccessibilityTree(const AccessibilityTree&) = delete;
    AccessibilityTree& operator=(const AccessibilityTree&) = delete;
    virtual ~AccessibilityTree() = default;

    /// Returns whether this program may press keys in other programs and use the clipboard for them (macOS:
    /// the Accessibility permission; X11: XTEST and the selections are usable). Needs a few milliseconds.
    virtual bool isTrusted() = 0;

    /// As `isTrusted()`. If the permission is missing and the system has a prompt for it, the system shows
    /// the prompt; the call does not wait for the user. X11 has no prompt: the log says what is missing.
    virtual bool isTrustedWithPrompt() = 0;

    /// Returns the text that is selected in the focused element of the front application, unchanged. Returns
    /// nullopt if nothing is selected or if the application does not say. Asks another program, and waits for
    /// it for up to a tenth of a second.
    virtual std::optional<std::string> selectedText() = 0;
};

} // namespace sonvale::platform
