#pragma once

#include "platform/AudioTypes.h"

#include <functional>

namespace sonvale::platform::linux {

/// Cuts a stream of interleaved samples, which comes in pieces of any size, into planar buffers of one size.
class PcmCutter {
public:
    using Receiver = std::function<void(const PcmBufferPtr&)>;

    PcmCutter(AudioFormat format, std::size_t bufferFrames, Receiver receiver);
    /// Overwrites what was not handed on.
    ~PcmCutter();
    PcmCutter(const PcmCutter&) = delete;
    PcmCutter& operator=(const PcmCutter&) = delete;

    /// `interleaved` holds `frames` frames; null stands for silence.
    void take(const float* interleaved, std::size_t frames);

    /// Hands on what has not filled a buffer, as a shorter one; nothing when there is nothing.
    void flush();

private:
    AudioFormat format_;
    std::size_t bufferFrames_;
    Receiver receiver_;
    PcmBufferPtr filling_;
    std::size_t filled_ = 0;
};

} // namespace sonvale::platform::linux
