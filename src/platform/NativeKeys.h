#pragma once

#include <cstdint>

namespace sonvale::platform {

/// What the key codes mean that the window system puts into the events of this program's own windows. Any
/// thread; nothing blocks or fails.
class NativeKeys {
public:
    NativeKeys() = default;
    NativeKeys(const NativeKeys&) = delete;
    NativeKeys& operator=(const NativeKeys&) = delete;
    virtual ~NativeKeys() = default;

    /// The macOS virtual key code of the key at the same place of the keyboard, whatever the layout makes of
    /// it; -1 for a key that has none. The same as in the events of `EventTap`.
    virtual int virtualKeyCode(std::uint32_t scanCode) const = 0;
};

} // namespace sonvale::platform
