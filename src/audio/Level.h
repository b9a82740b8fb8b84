#pragma once

#include "platform/AudioTypes.h"

namespace sonvale::audio {

/// Returns the loudness of a piece of audio: the root mean square of the samples of channel 0; 0 without
/// frames or channels. Any thread.
float level(const platform::PcmBuffer& buffer);

} // namespace sonvale::audio
