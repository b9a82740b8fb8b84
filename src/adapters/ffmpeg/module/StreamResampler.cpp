#include "adapters/ffmpeg/module/StreamResampler.h"

#include "adapters/ffmpeg/UsableFormat.h"

#include <soxr.h>

#include <cmath>
#include <string>

namespace sonvale::adapters::ffmpeg {

StreamResampler::StreamResampler(double fromRate, double toRate, std::size_t channels)
    : ratio_(toRate / fromRate)
    , channels_(channels) {
    for (const double rate : {fromRate, toRate})
        requireUsable({rate, static_cast<std::uint32_t>(channels)});
    if (fromRate == toRate)
        return;
    const auto samples = soxr_io_spec(SOXR_FLOAT32_S, SOXR_FLOAT32_S);
    const auto quality = soxr_quality_spec(SOXR_HQ, 0);
    soxr_error_t error = nullptr;
    soxr_ =
        soxr_create(fromRate, toRate, static_cast<unsigned>(channels), &error, &samples, &quality, nullptr);
    if (!soxr_)
        throw platform::AudioFileError(std::string("The audio's sample rate cannot be converted: ") + error);
}

StreamResampler::~StreamResampler() {
    soxr_delete(soxr_);
}

void StreamResampler::process(std::span<const float* const> input, std::size_t frames, Planes& output) {
    if (frames == 0)
        return;
    if (soxr_) {
        convert(input.data(), frames, output);
        return;
    }
    for (std::size_t channel = 0; channel < channels_; ++channel)
        output[channel].insert(output[channel].end(), input[channel], input[channel] + frames);
}

void StreamResampler::finish(Planes& output) {
    if (soxr_)
        convert(nullptr, 0, output);
}

void StreamResampler::convert(const float* const* input, std::size_t frames, Planes& output) {
    const auto room = static_cast<std::size_t>(std::ceil(static_cast<double>(frames) * ratio_)) + 4096;
    std::vector<const float*> from(channels_);
    for (std::size_t channel = 0; input && channel < channels_; ++channel)
        from[channel] = input[channel];
    std::vector<float*> to(channels_);
    std::size_t left = frames;
    for (;;) {
        const auto start = output[0].size();
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            output[channel].resize(start + room);
            to[channel] = output[channel].data() + start;
        }
        std::size_t consumed = 0;
        std::size_t produced = 0;
        const auto* error = soxr_process(soxr_, input ? static_cast<const void*>(from.data()) : nullptr, left,
                                         &consumed, to.data(), room, &produced);
        for (auto& plane : output)
            plane.resize(start + produced);
        if (error)
            throw platform::AudioFileError(std::string("The audio's sample rate cannot be converted: ") +
                                           error);

        left -= consumed;
        for (std::size_t channel = 0; input && channel < channels_; ++channel)
            from[channel] += consumed;
        // If the buffer is full, more may be ready; otherwise nothing is.
        if (produced < room && left == 0)
            return;
        if (produced == 0 && consumed == 0)
            return;
    }
}

} // namespace sonvale::adapters::ffmpeg
