#pragma once

#include "platform/AudioTypes.h"

namespace sonvale::audio {

/// How loud a piece of audio is: the root of the mean of the squares of the samples of channel 0. 0 without
/// frames or channels. Any thread.
float level(const platform::PcmBuffer& buffer);

} // namespace sonvale::audio
