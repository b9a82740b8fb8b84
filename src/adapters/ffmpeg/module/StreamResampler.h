#pragma once

#include "base/WipingAllocator.h"

#include <cstddef>
#include <span>
#include <vector>

struct soxr;

namespace sonvale::adapters::ffmpeg {

/// Samples by channel.
using Planes = std::vector<base::WipedVector<float>>;

/// Converts the rate of one continuous stream, piece by piece and without delay: frame n of the input becomes
/// frame n times the ratio of the output. Equal rates pass through.
///
/// One thread at a time.
class StreamResampler {
public:
    /// Throws `AudioFileError` if the rates cannot be converted.
    StreamResampler(double fromRate, double toRate, std::size_t channels);
    ~StreamResampler();
    StreamResampler(const StreamResampler&) = delete;
    StreamResampler& operator=(const StreamResampler&) = delete;

    /// Takes one pointer per channel, to `frames` samples. Appends the finished samples to `output`.
    void process(std::span<const float* const> input, std::size_t frames, Planes& output);

    /// Appends the rest. Must be the last call.
    void finish(Planes& output);

private:
    void convert(const float* const* input, std::size_t frames, Planes& output);

    double ratio_;
    std::size_t channels_;
    soxr* soxr_ = nullptr;
};

} // namespace sonvale::adapters::ffmpeg
