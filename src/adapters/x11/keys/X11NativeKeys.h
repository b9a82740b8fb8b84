#pragma once

#include "platform/NativeKeys.h"

namespace sonvale::adapters::x11 {

/// Translates the key codes of X11 events. Toolkits report the same numbers on Wayland.
class X11NativeKeys final : public platform::NativeKeys {
public:
    int virtualKeyCode(std::uint32_t scanCode) const override;
};

} // namespace sonvale::adapters::x11
