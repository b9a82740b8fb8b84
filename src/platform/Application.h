#pragma once

#include <string>

namespace sonvale::platform {

/// How the program stands in the desktop.
enum class ActivationPolicy {
    regular,   ///< its windows have a place in the dock or taskbar
    accessory, ///< it is reached by its menu only
};

/// The program as the desktop sees it. Main actor.
class Application {
public:
    Application() = default;
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    virtual ~Application() = default;

    /// Holds for the windows that are open and for those to come.
    virtual void setActivationPolicy(ActivationPolicy policy) = 0;

    /// Shows the program's window with exactly this title in front of the others, with the keyboard; false
    /// when it has none.
    virtual bool makeKeyAndOrderFront(const std::string& windowTitle) = 0;

    /// Ends the program by the platform's normal quit.
    virtual void terminate() = 0;
};

} // namespace sonvale::platform
