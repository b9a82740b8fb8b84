#pragma once

#include "base/Log.h"
#include "base/WipingAllocator.h"
#include "platform/SampleRateConverter.h"

#include <memory>
#include <optional>

namespace sonvale::audio {

/// Turns captured buffers into what the realtime service takes: 16-bit mono samples at 24,000 Hz, in
/// little-endian order. One thread: the capture's.
class PCMResampler {
public:
    static constexpr double targetSampleRate = 24000;

    /// `converters` outlives it.
    explicit PCMResampler(platform::SampleRateConverters& converters);

    /// The buffer's bytes in the target format, two for each frame. Nothing, with a line in the log, when
    /// there is no way to convert it; the next buffer is tried anew. Does not block and never throws.
    std::optional<base::WipedBytes> resample(const platform::PcmBuffer& buffer);

private:
    bool adoptFormat(const platform::AudioFormat& format);

    base::Logger logger_{"PCMResampler"};
    platform::SampleRateConverters& converters_;
    std::unique_ptr<platform::SampleRateConverter> converter_;
    platform::AudioFormat converterInputFormat_;
};

} // namespace sonvale::audio
