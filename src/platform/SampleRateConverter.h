#pragma once

#include "base/WipingAllocator.h"
#include "platform/AudioTypes.h"

#include <cstdint>
#include <memory>
#include <stdexcept>

namespace sonvale::platform {

/// A conversion that failed. `what()` gives the reason, without any audio.
class SampleRateConverterError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Converts single buffers of one format to 16-bit mono at one rate. Channels are averaged. One thread at a
/// time.
class SampleRateConverter {
public:
    SampleRateConverter() = default;
    SampleRateConverter(const SampleRateConverter&) = delete;
    SampleRateConverter& operator=(const SampleRateConverter&) = delete;
    virtual ~SampleRateConverter() = default;

    /// Forgets the earlier buffers.
    virtual void reset() = 0;

    /// Converts the buffer as a whole and keeps nothing back for the next one. Returns the whole frames that
    /// its duration gives at the new rate, up to `maximumFrames`. If the duration gives a fraction of a frame
    /// more, the sound of the buffer (up to 16384 frames) is compressed by this fraction, so that consecutive
    /// buffers join without a step. `buffer` has the converter's format. Does not block. Throws
    /// `SampleRateConverterError`.
    virtual base::WipedVector<std::int16_t> convert(const PcmBuffer& buffer, std::size_t maximumFrames) = 0;
};

/// Makes converters. Any thread.
class SampleRateConverters {
public:
    SampleRateConverters() = default;
    SampleRateConverters(const SampleRateConverters&) = delete;
    SampleRateConverters& operator=(const SampleRateConverters&) = delete;
    virtual ~SampleRateConverters() = default;

    /// Returns null if that format cannot be converted: it has no channel, or its rate is not positive or out
    /// of proportion.
    virtual std::unique_ptr<SampleRateConverter> make(const AudioFormat& input, double outputRate) = 0;
};

} // namespace sonvale::platform
