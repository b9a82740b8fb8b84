#pragma once

#include "platform/SampleRateConverter.h"

namespace sonvale::platform::linux {

/// Converters by the SoX resampler library. Every buffer is continued beyond both of its ends by its own
/// reflection, so that it can be converted without its neighbours.
class SoxrSampleRateConverters final : public SampleRateConverters {
public:
    std::unique_ptr<SampleRateConverter> make(const AudioFormat& input, double outputRate) override;
};

} // namespace sonvale::platform::linux
