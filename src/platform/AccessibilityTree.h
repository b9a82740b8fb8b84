#pragma once

#include <optional>
#include <string>

namespace sonvale::platform {

/// The right to act in other applications, and what they expose. Main actor.
class AccessibilityTree {
public:
    AccessibilityTree() = default;
    AccessibilityTree(const AccessibilityTree&) = delete;
    AccessibilityTree& operator=(const AccessibilityTree&) = delete;
    virtual ~AccessibilityTree() = default;

    /// Whether this program may press keys in others and use the clipboard for them (macOS: the Accessibility
    /// grant; X11: XTEST and the selections are usable). A few milliseconds.
    virtual bool isTrusted() = 0;

    /// As `isTrusted()`, and when the right is missing the system tells the user how to give it, where it has
    /// a prompt for that; returns without waiting for the user. On X11 nobody can give it: the log says what
    /// is missing.
    virtual bool isTrustedWithPrompt() = 0;

    /// The text that is selected in the element that has the keyboard focus in the front application, as it
    /// stands; absent when nothing is selected and when the application does not tell. It asks another
    /// program, and waits a tenth of a second for it at most, whatever that program does.
    virtual std::optional<std::string> selectedText() = 0;
};

} // namespace sonvale::platform
