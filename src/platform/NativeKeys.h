#pragma once

#include <cstdint>

namespace sonvale::platform {

/// Translates the key codes that the window system puts into the events of this program's own windows. Any
/// thread; nothing blocks or fails.
class NativeKeys {
public:
    NativeKeys() = default;
    NativeKeys(const NativeKeys&) = delete;
    NativeKeys& operator=(const NativeKeys&) = delete;
    virtual ~NativeKeys() = default;

    /// Returns the macOS virtual key code of the key at the same place of the keyboard, in any layout, or -1
    /// if there is none. It is the one that the events of `EventTap` carry.
    virtual int virtualKeyCode(std::uint32_t scanCode) const = 0;
};

} // namespace sonvale::platform
