#include "adapters/ffmpeg/SoxrSampleRateConverter.h"

#include <soxr.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <span>

namespace sonvale::adapters::ffmpeg {

namespace {

/// Beyond these rates the filters become too long; sound cards are far within them.
constexpr double minRate = 1000;
constexpr double maxRate = 768000;

/// Long enough for the end of the filter's response.
constexpr double edgeSeconds = 0.005;

struct SoxrDeleter {
    void operator()(soxr* resampler) const { soxr_delete(resampler); }
};

/// Longer buffers that do not give whole frames lose the fraction of a frame.
constexpr std::size_t maxStretchedFrames = 16384;

/// How far a buffer is extended at each end: by as many frames as give whole output frames.
struct Edge {
    std::size_t inputFrames = 0;
    std::size_t outputFrames = 0;
};

/// Returns the edge for a conversion of `in` frames to `out`.
Edge edgeFor(double inputRate, long in, long out) {
    const auto divisor = std::gcd(in, out);
    const auto inputStep = in / divisor;
    const auto steps =
        std::max(1L, static_cast<long>(std::ceil(edgeSeconds * inputRate / static_cast<double>(inputStep))));
    return {static_cast<std::size_t>(steps * inputStep), static_cast<std::size_t>(steps * (out / divisor))};
}

/// A resampler and its edge.
struct Conversion {
    std::unique_ptr<soxr, SoxrDeleter> resampler;
    Edge edge;
    double ratio = 0;
};

/// The resampler is null if the ratio cannot be converted.
Conversion makeConversion(double inputRate, double in, double out) {
    const auto samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const auto quality = soxr_quality_spec(SOXR_HQ, 0);
    soxr_error_t error = nullptr;
    Conversion conversion{
        std::unique_ptr<soxr, SoxrDeleter>(soxr_create(in, out, 1, &error, &samples, &quality, nullptr)),
        edgeFor(inputRate, std::lround(in), std::lround(out)), out / in};
    if (error)
        conversion.resampler.reset();
    return conversion;
}

void averageChannels(const platform::PcmBuffer& buffer, std::span<float> mono) {
    const auto channels = buffer.format().channelCount;
    std::ranges::copy(buffer.channel(0), mono.begin());
    if (channels == 1)
        return;
    for (std::size_t channel = 1; channel < channels; ++channel) {
        const auto samples = buffer.channel(channel);
        for (std::size_t i = 0; i < mono.size(); ++i)
            mono[i] += samples[i];
    }
    const float share = 1.0F / static_cast<float>(channels);
    for (float& sample : mono)
        sample *= share;
}

/// Extends the middle at both ends with its point reflection at the last sample, so that value and slope
/// continue.
void reflectEdges(std::span<float> padded, std::size_t edge) {
    const auto middle = padded.subspan(edge, padded.size() - 2 * edge);
    const auto furthest = middle.size() - 1;
    for (std::size_t i = 1; i <= edge; ++i) {
        const auto mirrored = std::min(i, furthest);
        padded[edge - i] = 2 * middle.front() - middle[mirrored];
        padded[edge + furthest + i] = 2 * middle.back() - middle[furthest - mirrored];
    }
}

std::int16_t sampleOf(float value) {
    if (!std::isfinite(value))
        return 0;
    return static_cast<std::int16_t>(std::lround(std::clamp(value, -1.0F, 1.0F) * 32767.0F));
}

class SoxrSampleRateConverter final : public platform::SampleRateConverter {
public:
    SoxrSampleRateConverter(const platform::AudioFormat& input, double outputRate, Conversion exact)
        : input_(input)
        , ratio_(outputRate / input.sampleRate)
        , exact_(std::move(exact)) {}

    void reset() override {
        for (const auto* conversion : {&exact_, &stretched_}) {
            if (!conversion->resampler)
                continue;
            if (const auto* error = soxr_clear(conversion->resampler.get()))
                throw platform::SampleRateConverterError(error);
        }
    }

    base::WipedVector<std::int16_t> convert(const platform::PcmBuffer& buffer,
                                            std::size_t maximumFrames) override {
        if (buffer.format() != input_)
            throw platform::SampleRateConverterError("the buffer has another format");
        const auto frames = buffer.frameLength();
        const double exactFrames = static_cast<double>(frames) * ratio_;
        const auto whole = static_cast<std::size_t>(std::floor(exactFrames + 1e-6));
        if (whole == 0)
            return {};

        const auto& conversion = conversionFor(frames, whole, exactFrames);
        const auto& edge = conversion.edge;
        padded_.resize(frames + 2 * edge.inputFrames);
        averageChannels(buffer, std::span(padded_).subspan(edge.inputFrames, frames));
        reflectEdges(padded_, edge.inputFrames);

        const auto produced = resample(conversion);
        const auto available =
            produced > 2 * edge.outputFrames ? produced - 2 * edge.outputFrames : std::size_t{0};
        const auto count = std::min({whole, available, maximumFrames});

        base::WipedVector<std::int16_t> result(count);
        const auto middle = std::span(converted_).subspan(edge.outputFrames, count);
        std::ranges::transform(middle, result.begin(), sampleOf);
        wipe();
        return result;
    }

private:
    /// A buffer that does not give whole frames (1024 at 44.1 kHz give 557.28) is stretched to whole frames,
    /// by less than a frame. If the fraction were dropped, there would be a step at the end of each buffer,
    /// which sounds like a buzz.
    const Conversion& conversionFor(std::size_t frames, std::size_t whole, double exactFrames) {
        const bool isWhole = std::abs(exactFrames - static_cast<double>(whole)) < 1e-6;
        if (isWhole || frames > maxStretchedFrames)
            return exact_;
        if (frames != stretchedFrames_) {
            auto conversion =
                makeConversion(input_.sampleRate, static_cast<double>(frames), static_cast<double>(whole));
            if (!conversion.resampler)
                return exact_;
            stretched_ = std::move(conversion);
            stretchedFrames_ = frames;
        }
        return stretched_;
    }

    /// Converts `padded_` into `converted_`. Returns the number of converted frames.
    std::size_t resample(const Conversion& conversion) {
        converted_.resize(
            static_cast<std::size_t>(std::ceil(static_cast<double>(padded_.size()) * conversion.ratio)) + 1);
        std::size_t consumed = 0;
        std::size_t produced = 0;
        // A complemented length marks the end of the input, so that the resampler outputs everything.
        const auto* error = soxr_process(conversion.resampler.get(), padded_.data(), ~padded_.size(),
                                         &consumed, converted_.data(), converted_.size(), &produced);
        if (error)
            throw platform::SampleRateConverterError(error);
        return produced;
    }

    void wipe() {
        for (auto* samples : {&padded_, &converted_}) {
            for (volatile float& sample : *samples)
                sample = 0;
        }
    }

    platform::AudioFormat input_;
    double ratio_;
    Conversion exact_; ///< at the ratio of the rates
    Conversion stretched_;
    std::size_t stretchedFrames_ = 0;    ///< the number of frames for `stretched_`
    base::WipedVector<float> padded_;    ///< kept to reuse its memory, like `converted_`
    base::WipedVector<float> converted_; ///< zeros between the calls
};

bool isUsable(double rate) {
    return rate >= minRate && rate <= maxRate;
}

} // namespace

std::unique_ptr<platform::SampleRateConverter>
SoxrSampleRateConverters::make(const platform::AudioFormat& input, double outputRate) {
    if (input.channelCount == 0 || !isUsable(input.sampleRate) || !isUsable(outputRate))
        return nullptr;
    auto exact = makeConversion(input.sampleRate, input.sampleRate, outputRate);
    if (!exact.resampler)
        return nullptr;
    return std::make_unique<SoxrSampleRateConverter>(input, outputRate, std::move(exact));
}

} // namespace sonvale::adapters::ffmpeg
