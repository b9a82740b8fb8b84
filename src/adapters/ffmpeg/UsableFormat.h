#pragma once

#include "platform/AudioFile.h"

#include <cmath>

namespace sonvale::adapters::ffmpeg {

/// Throws `AudioFileError` if audio cannot have this format.
inline void requireUsable(const platform::AudioFormat& format) {
    if (!(format.sampleRate > 0) || !std::isfinite(format.sampleRate) || format.channelCount == 0)
        throw platform::AudioFileError("The audio has no usable format.");
}

} // namespace sonvale::adapters::ffmpeg
