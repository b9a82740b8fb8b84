#pragma once

#include "base/WipingAllocator.h"

#include <cstddef>
#include <span>
#include <vector>

struct soxr;

namespace sonvale::adapters::ffmpeg {

/// Samples by channel.
using Planes = std::vector<base::WipedVector<float>>;

/// Converts the rate of one continuous stream, piece by piece and without delay between input and output:
/// frame n of the input comes out at n times the ratio. Rates that are equal pass through.
///
/// One thread at a time.
class StreamResampler {
public:
    /// Throws `AudioFileError` for rates that cannot be converted.
    StreamResampler(double fromRate, double toRate, std::size_t channels);
    ~StreamResampler();
    StreamResampler(const StreamResampler&) = delete;
    StreamResampler& operator=(const StreamResampler&) = delete;

    /// Takes one pointer for each channel, to `frames` samples; appends what is ready to `output`.
    void process(std::span<const float* const> input, std::size_t frames, Planes& output);

    /// Appends the rest. Nothing may be processed afterwards.
    void finish(Planes& output);

private:
    void convert(const float* const* input, std::size_t frames, Planes& output);

    double ratio_;
    std::size_t channels_;
    soxr* soxr_ = nullptr;
};

} // namespace sonvale::adapters::ffmpeg
