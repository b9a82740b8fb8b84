#pragma once

#include "base/Log.h"
#include "base/WipingAllocator.h"
#include "platform/SampleRateConverter.h"

#include <memory>
#include <optional>

namespace sonvale::audio {

/// Converts captured buffers to the format of the realtime service: 16-bit mono samples at 24,000 Hz,
/// little-endian. Used on one thread, the capture thread.
class PCMResampler {
public:
    static constexpr double targetSampleRate = 24000;

    /// `converters` must outlive it.
    explicit PCMResampler(platform::SampleRateConverters& converters);

    /// Returns the buffer's bytes in the target format, two for each frame. Returns nullopt and logs a line
    /// if the buffer cannot be converted; the next buffer is tried again. Does not block and never throws.
    std::optional<base::WipedBytes> resample(const platform::PcmBuffer& buffer);

private:
    bool adoptFormat(const platform::AudioFormat& format);

    base::Logger logger_{"PCMResampler"};
    platform::SampleRateConverters& converters_;
    std::unique_ptr<platform::SampleRateConverter> converter_;
    platform::AudioFormat converterInputFormat_;
};

} // namespace sonvale::audio
