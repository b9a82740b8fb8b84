#pragma once

#include "platform/AudioTypes.h"

#include <functional>

namespace sonvale::adapters::pulse {

/// Cuts a stream of interleaved samples, which comes in pieces of any size, into planar buffers of one size.
class PcmCutter {
public:
    using Receiver = std::function<void(const platform::PcmBufferPtr&)>;

    PcmCutter(platform::AudioFormat format, std::size_t bufferFrames, Receiver receiver);
    /// Overwrites what was not handed on.
    ~PcmCutter();
    PcmCutter(const PcmCutter&) = delete;
    PcmCutter& operator=(const PcmCutter&) = delete;

    /// `interleaved` holds `frames` frames; null stands for silence.
    void take(const float* interleaved, std::size_t frames);

    /// Hands on what has not filled a buffer, as a shorter one; nothing when there is nothing.
    void flush();

private:
    platform::AudioFormat format_;
    std::size_t bufferFrames_;
    Receiver receiver_;
    platform::PcmBufferPtr filling_;
    std::size_t filled_ = 0;
};

} // namespace sonvale::adapters::pulse
