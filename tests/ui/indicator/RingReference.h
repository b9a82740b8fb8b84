#pragma once

#include "platform/RecordingState.h"

#include <QImage>

namespace sonvale::tests {

/// The ring drawn the slow way: every stroke painted over its 120 points, blurred by a real Gaussian, and
/// laid over the others. ARGB32 premultiplied, `size` × `size`.
QImage ringByBlurredStrokes(platform::RecordingState state, float audioLevel, double t, int size);

} // namespace sonvale::tests
