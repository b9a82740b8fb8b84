#include "audio/Level.h"

#include <cmath>

namespace sonvale::audio {

float level(const platform::PcmBuffer& buffer) {
    if (buffer.format().channelCount == 0 || buffer.frameLength() == 0)
        return 0;
    double sum = 0;
    for (const float sample : buffer.channel(0))
        sum += static_cast<double>(sample) * sample;
    return static_cast<float>(std::sqrt(sum / static_cast<double>(buffer.frameLength())));
}

} // namespace sonvale::audio
