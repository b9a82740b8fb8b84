#pragma once

#include "platform/SampleRateConverter.h"

namespace sonvale::adapters::ffmpeg {

/// Converters by the SoX resampler library. Every buffer is continued beyond both of its ends by its own
/// reflection, so that it can be converted without its neighbours.
class SoxrSampleRateConverters final : public platform::SampleRateConverters {
public:
    std::unique_ptr<platform::SampleRateConverter> make(const platform::AudioFormat& input,
                                                        double outputRate) override;
};

} // namespace sonvale::adapters::ffmpeg
