#include "audio/PCMResampler.h"

#include <cmath>
#include <cstdint>
#include <utility>

namespace sonvale::audio {

namespace {

base::WipedBytes bytesOf(const base::WipedVector<std::int16_t>& samples) {
    base::WipedBytes bytes;
    bytes.reserve(samples.size() * 2);
    for (const auto sample : samples) {
        const auto bits = static_cast<std::uint16_t>(sample);
        bytes += static_cast<char>(bits & 0xFF);
        bytes += static_cast<char>(bits >> 8);
    }
    return bytes;
}

} // namespace

PCMResampler::PCMResampler(platform::SampleRateConverters& converters)
    : converters_(converters) {}

bool PCMResampler::adoptFormat(const platform::AudioFormat& format) {
    if (converter_ && converterInputFormat_ == format)
        return true;
    auto converter = converters_.make(format, targetSampleRate);
    if (!converter) {
        logger_.error("PCMResampler: Failed to create AVAudioConverter from {} ch, {} Hz, Float32 to target "
                      "format",
                      format.channelCount, format.sampleRate);
        return false;
    }
    converter_ = std::move(converter);
    converterInputFormat_ = format;
    logger_.debug("PCMResampler: Created new converter — input: {:f} Hz, {} ch", format.sampleRate,
                  format.channelCount);
    return true;
}

std::optional<base::WipedBytes> PCMResampler::resample(const platform::PcmBuffer& buffer) {
    const auto& format = buffer.format();
    if (!adoptFormat(format))
        return std::nullopt;

    const auto capacity = static_cast<std::uint32_t>(
        std::ceil(targetSampleRate / format.sampleRate * static_cast<double>(buffer.frameLength())));
    if (capacity == 0) {
        logger_.debug("PCMResampler: Skipping empty buffer (0 frames)");
        return std::nullopt;
    }

    base::WipedVector<std::int16_t> samples;
    try {
        converter_->reset();
        samples = converter_->convert(buffer, capacity);
    } catch (const platform::SampleRateConverterError& error) {
        logger_.error("PCMResampler: Conversion error — {}", error.what());
        return std::nullopt;
    }
    if (samples.empty()) {
        logger_.error("PCMResampler: Conversion produced no frames (status: {})", 0);
        return std::nullopt;
    }
    return bytesOf(samples);
}

} // namespace sonvale::audio
