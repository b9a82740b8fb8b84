#pragma once

#include "platform/RecordingState.h"

#include <QIcon>
#include <QImage>

namespace sonvale::ui {

/// Returns the symbol "MenuBarIcon" in one size: a disc on transparent ground. The disc's color and mark show
/// the state. The mark is legible on light and dark panels, because the disc is its ground.
QImage trayIconImage(platform::RecordingState state, int size);

/// Returns the symbol in the sizes that panels use.
QIcon trayIconSymbol(platform::RecordingState state);

} // namespace sonvale::ui
