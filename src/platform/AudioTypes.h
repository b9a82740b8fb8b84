#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace sonvale::platform {

/// The format of uncompressed audio: 32-bit float samples, one plane per channel.
struct AudioFormat {
    double sampleRate = 0;          ///< frames a second
    std::uint32_t channelCount = 0; ///< 0 if there is no audio
    bool operator==(const AudioFormat&) const = default;
};

/// A piece of audio. Each channel is one contiguous run of `frameLength()` samples between -1 and 1.
class PcmBuffer {
public:
    /// Makes `frames` frames of silence.
    PcmBuffer(AudioFormat format, std::size_t frames)
        : format_(format)
        , frames_(frames)
        , samples_(static_cast<std::size_t>(format.channelCount) * frames) {}

    const AudioFormat& format() const { return format_; }
    std::size_t frameLength() const { return frames_; }
    std::span<float> channel(std::size_t index) {
        return std::span(samples_).subspan(index * frames_, frames_);
    }
    std::span<const float> channel(std::size_t index) const {
        return std::span(samples_).subspan(index * frames_, frames_);
    }

    /// Overwrites every sample of every channel with zero, in a way that the compiler does not remove.
    void wipe() {
        for (volatile float& sample : samples_)
            sample = 0;
    }

private:
    AudioFormat format_;
    std::size_t frames_;
    std::vector<float> samples_;
};

using PcmBufferPtr = std::shared_ptr<PcmBuffer>;

} // namespace sonvale::platform
