#pragma once

#include "platform/NativeKeys.h"

namespace sonvale::platform::linux {

/// The key codes of X11 events. Those of Wayland, as toolkits tell them, are the same numbers.
class X11NativeKeys final : public NativeKeys {
public:
    int virtualKeyCode(std::uint32_t scanCode) const override;
};

} // namespace sonvale::platform::linux
