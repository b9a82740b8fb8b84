#pragma once

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
};

} // namespace sonvale::platform
