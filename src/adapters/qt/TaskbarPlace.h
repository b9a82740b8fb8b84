#pragma once

class QWindow;

namespace sonvale::adapters::qt {

/// Says on a window that is about to be shown whether task bars and pagers list it. Only on X11 (EWMH).
void prepareTaskbarPlace(QWindow& window, bool isListed);

/// Asks the window manager to change it for a window that is shown. Only on X11 (EWMH).
void changeTaskbarPlace(QWindow& window, bool isListed);

} // namespace sonvale::adapters::qt
