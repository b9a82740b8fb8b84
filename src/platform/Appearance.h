#pragma once

#include <functional>
#include <optional>

namespace sonvale::platform {

/// How the desktop wants windows to look. Main actor.
class Appearance {
public:
    struct Preferences {
        std::optional<bool> isDark = std::nullopt; ///< absent if the desktop states no preference
        bool isMotionReduced = false;
        friend bool operator==(const Preferences&, const Preferences&) = default;
    };

    Appearance() = default;
    Appearance(const Appearance&) = delete;
    Appearance& operator=(const Appearance&) = delete;
    virtual ~Appearance() = default;

    /// Returns the preferences as they are known now. The first answer of the desktop may arrive some
    /// milliseconds after the object is made. Never waits and never fails.
    virtual Preferences preferences() const = 0;

    /// Calls `observer` on the main actor after each change of the preferences, until the object is
    /// destroyed. Set once.
    virtual void setOnChange(std::function<void()> observer) = 0;
};

} // namespace sonvale::platform
