#pragma once

#include "platform/Compositor.h"

namespace sonvale::adapters::qt {

/// The compositor of the desktop on which Qt shows its windows. On X11 it runs if _NET_WM_CM_S0 has an owner
/// (EWMH); elsewhere it always runs. Main thread, after the application object has been made.
class QtCompositor final : public platform::Compositor {
public:
    bool isRunning() const override;
};

} // namespace sonvale::adapters::qt
