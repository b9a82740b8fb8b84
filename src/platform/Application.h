#pragma once

#include <string>

namespace sonvale::platform {

/// How the desktop lists the program.
enum class ActivationPolicy {
    regular,   ///< its windows are in the dock or taskbar
    accessory, ///< only its menu is shown
};

/// The program in the desktop. Main actor.
class Application {
public:
    Application() = default;
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    virtual ~Application() = default;

    /// Sets the policy for the open windows and for later ones.
    virtual void setActivationPolicy(ActivationPolicy policy) = 0;

    /// Shows the program's window with exactly this title in front of the others and gives it the keyboard.
    /// Returns false if there is no such window.
    virtual bool makeKeyAndOrderFront(const std::string& windowTitle) = 0;

    /// Quits the program in the platform's normal way.
    virtual void terminate() = 0;
};

} // namespace sonvale::platform
