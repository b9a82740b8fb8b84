#pragma once

namespace sonvale::platform {

/// The part of the desktop that blends windows with what lies below them. Main actor.
class Compositor {
public:
    Compositor() = default;
    Compositor(const Compositor&) = delete;
    Compositor& operator=(const Compositor&) = delete;
    virtual ~Compositor() = default;

    /// Returns whether windows can be translucent now. It can change while the program runs. Some
    /// milliseconds at most.
    virtual bool isRunning() const = 0;
};

} // namespace sonvale::platform
