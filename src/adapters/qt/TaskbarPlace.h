#pragma once

class QWindow;

namespace sonvale::adapters::qt {

/// States on a window that is about to be shown whether task bars and pagers list it. Works only on X11
/// (EWMH).
void prepareTaskbarPlace(QWindow& window, bool isListed);

/// Asks the window manager to change this for a shown window. Works only on X11 (EWMH).
void changeTaskbarPlace(QWindow& window, bool isListed);

} // namespace sonvale::adapters::qt
