#pragma once

namespace sonvale::ui {

/// Whether windows can be translucent now: on X11 the owner of _NET_WM_CM_S0 (EWMH), elsewhere always.
/// After the application object has been made; main thread.
bool isCompositorRunning();

} // namespace sonvale::ui
