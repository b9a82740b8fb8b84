#pragma once

#include "platform/NativeKeys.h"

namespace sonvale::adapters::x11 {

/// The key codes of X11 events. Those of Wayland, as toolkits tell them, are the same numbers.
class X11NativeKeys final : public platform::NativeKeys {
public:
    int virtualKeyCode(std::uint32_t scanCode) const override;
};

} // namespace sonvale::adapters::x11
