#pragma once

#include "platform/RecordingState.h"

#include <QImage>

namespace sonvale::tests {

/// Draws the ring slowly: paints every stroke through its 120 points, blurs it by a real Gaussian, and
/// composes the strokes. Returns ARGB32 premultiplied, `size` × `size`.
QImage ringByBlurredStrokes(platform::RecordingState state, float audioLevel, double t, int size);

} // namespace sonvale::tests
