#pragma once

#include "platform/SampleRateConverter.h"

namespace sonvale::adapters::ffmpeg {

/// Converters that use the SoX resampler library. Every buffer is extended at both ends by its own
/// reflection, so that it can be converted without its neighbors.
class SoxrSampleRateConverters final : public platform::SampleRateConverters {
public:
    std::unique_ptr<platform::SampleRateConverter> make(const platform::AudioFormat& input,
                                                        double outputRate) override;
};

} // namespace sonvale::adapters::ffmpeg
