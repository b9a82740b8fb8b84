#pragma once

#include <functional>

namespace sonvale::platform {

/// The panel of the desktop that shows tray icons. Main actor.
class TrayHost {
public:
    TrayHost() = default;
    TrayHost(const TrayHost&) = delete;
    TrayHost& operator=(const TrayHost&) = delete;
    virtual ~TrayHost() = default;

    /// Waits for a panel that shows tray icons, without using time.
    ///
    /// Calls `onFound` once, as soon as there is a panel, which may be later than the start of the program or
    /// never. Calls `onNoneYet` at most once, if there is no panel after the time that a starting desktop
    /// needs. Neither is called inside this operation, or after the object is destroyed. Called once.
    virtual void wait(std::function<void()> onFound, std::function<void()> onNoneYet) = 0;

    /// Drops both callbacks of `wait`.
    virtual void stop() = 0;
};

} // namespace sonvale::platform
