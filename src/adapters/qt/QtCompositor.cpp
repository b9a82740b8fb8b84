#include "adapters/qt/QtCompositor.h"

#include "adapters/qt/X11Selection.h"

namespace sonvale::adapters::qt {

bool QtCompositor::isRunning() const {
    return !isOnX11() || hasX11Owner("_NET_WM_CM_S0");
}

} // namespace sonvale::adapters::qt
