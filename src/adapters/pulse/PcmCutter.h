#pragma once

#include "platform/AudioTypes.h"

#include <functional>

namespace sonvale::adapters::pulse {

/// Divides a stream of interleaved samples, which arrives in pieces of any size, into planar buffers of one
/// size.
class PcmCutter {
public:
    using Receiver = std::function<void(const platform::PcmBufferPtr&)>;

    PcmCutter(platform::AudioFormat format, std::size_t bufferFrames, Receiver receiver);
    /// Overwrites the samples that were not delivered.
    ~PcmCutter();
    PcmCutter(const PcmCutter&) = delete;
    PcmCutter& operator=(const PcmCutter&) = delete;

    /// `interleaved` contains `frames` frames; null means silence.
    void take(const float* interleaved, std::size_t frames);

    /// Delivers an unfinished buffer as a shorter one. Does nothing if there are no samples.
    void flush();

private:
    platform::AudioFormat format_;
    std::size_t bufferFrames_;
    Receiver receiver_;
    platform::PcmBufferPtr filling_;
    std::size_t filled_ = 0;
};

} // namespace sonvale::adapters::pulse
