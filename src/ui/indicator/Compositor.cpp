#include "ui/indicator/Compositor.h"

#include "ui/common/X11Selection.h"

namespace sonvale::ui {

bool isCompositorRunning() {
    return !isOnX11() || hasX11Owner("_NET_WM_CM_S0");
}

} // namespace sonvale::ui
