#pragma once

#include "platform/RecordingState.h"

#include <QIcon>
#include <QImage>

namespace sonvale::ui {

/// The symbol "MenuBarIcon" in one size, transparent around it: a disc whose colour and mark tell the state.
/// It brings its own ground, so it reads on light and on dark panels alike.
QImage trayIconImage(platform::RecordingState state, int size);

/// The same in the sizes that panels ask for.
QIcon trayIconSymbol(platform::RecordingState state);

} // namespace sonvale::ui
