#include "adapters/ffmpeg/FfmpegAudioFiles.h"
#include "adapters/ffmpeg/SoxrSampleRateConverter.h"
#include "adapters/ffmpeg/module/StreamResampler.h"

#include "tests/fakes/FakeSampleRateConverters.h"
#include "tests/support/FfmpegModule.h"
#include "tests/support/Voices.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <span>

namespace sonvale::tests {

namespace {

using adapters::ffmpeg::SoxrSampleRateConverters;
using platform::AudioFormat;
using platform::PcmBuffer;

template <class Converters>
class SampleRateConverterContract : public testing::Test {
protected:
    std::size_t framesOf(AudioFormat format, std::size_t frames, std::size_t maximum = 1'000'000) {
        const auto converter = converters_.make(format, 24000);
        return converter->convert(PcmBuffer(format, frames), maximum).size();
    }

    Converters converters_;
};

using Implementations = testing::Types<FakeSampleRateConverters, SoxrSampleRateConverters>;
TYPED_TEST_SUITE(SampleRateConverterContract, Implementations);

/// Converts `samples` to 24 kHz, one buffer of the capture at a time.
std::vector<float> convertedByBuffers(std::span<const float> samples, double rate, std::size_t channels = 1,
                                      std::size_t frames = 1024) {
    const AudioFormat format{rate, static_cast<std::uint32_t>(channels)};
    SoxrSampleRateConverters converters;
    const auto converter = converters.make(format, 24000);
    std::vector<float> result;
    for (std::size_t start = 0; start + frames <= samples.size(); start += frames) {
        PcmBuffer buffer(format, frames);
        for (std::size_t channel = 0; channel < channels; ++channel)
            std::ranges::copy(samples.subspan(start, frames), buffer.channel(channel).begin());
        converter->reset();
        for (const auto sample : converter->convert(buffer, 4 * frames))
            result.push_back(static_cast<float>(sample) / 32767.0F);
    }
    return result;
}

double decibels(std::span<const float> wanted, std::span<const float> got) {
    double signal = 0;
    double noise = 0;
    for (std::size_t i = 0; i < std::min(wanted.size(), got.size()); ++i) {
        signal += static_cast<double>(wanted[i]) * wanted[i];
        noise += std::pow(static_cast<double>(wanted[i]) - got[i], 2);
    }
    return 10 * std::log10(signal / noise);
}

std::vector<float> tone(double frequency, double rate, std::size_t frames) {
    std::vector<float> samples(frames);
    for (std::size_t i = 0; i < frames; ++i)
        samples[i] = static_cast<float>(
            0.9 * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / rate));
    return samples;
}

} // namespace

TYPED_TEST(SampleRateConverterContract, GivesTheWholeFramesOfABuffersDuration) {
    EXPECT_EQ(this->framesOf({48000, 1}, 1024), 512U);
    EXPECT_EQ(this->framesOf({44100, 2}, 1024), 557U);
    EXPECT_EQ(this->framesOf({24000, 1}, 1024), 1024U);
    EXPECT_EQ(this->framesOf({16000, 1}, 100), 150U);
    EXPECT_EQ(this->framesOf({192000, 8}, 1024), 128U);
    EXPECT_EQ(this->framesOf({48000, 1}, 3), 1U);
    EXPECT_EQ(this->framesOf({48000, 1}, 1), 0U);
    EXPECT_EQ(this->framesOf({48000, 1}, 0), 0U);
    EXPECT_EQ(this->framesOf({48000, 1}, 1024, 500), 500U);
}

TYPED_TEST(SampleRateConverterContract, RefusesInvalidFormats) {
    EXPECT_EQ(this->converters_.make({48000, 0}, 24000), nullptr);
    EXPECT_EQ(this->converters_.make({0, 1}, 24000), nullptr);
    EXPECT_EQ(this->converters_.make({-48000, 1}, 24000), nullptr);
}

TYPED_TEST(SampleRateConverterContract, ThrowsForABufferOfAnotherFormat) {
    const auto converter = this->converters_.make({48000, 1}, 24000);
    EXPECT_THROW(converter->convert(PcmBuffer({44100, 1}, 64), 64), platform::SampleRateConverterError);
}

TYPED_TEST(SampleRateConverterContract, GivesTheSameResultForTheSameBuffer) {
    const auto converter = this->converters_.make({48000, 1}, 24000);
    PcmBuffer buffer({48000, 1}, 1024);
    std::ranges::copy(tone(300, 48000, 1024), buffer.channel(0).begin());
    const auto first = converter->convert(buffer, 512);
    converter->reset();
    EXPECT_EQ(converter->convert(buffer, 512), first);
}

TEST(SoxrSampleRateConverter, RefusesRatesOutOfProportion) {
    SoxrSampleRateConverters converters;
    EXPECT_EQ(converters.make({1, 1}, 24000), nullptr);
    EXPECT_EQ(converters.make({1e9, 1}, 24000), nullptr);
    EXPECT_EQ(converters.make({std::numeric_limits<double>::quiet_NaN(), 1}, 24000), nullptr);
    EXPECT_EQ(converters.make({std::numeric_limits<double>::infinity(), 1}, 24000), nullptr);
}

TEST(SoxrSampleRateConverter, JoinsTheBuffersOfATone) {
    const auto samples = tone(440, 48000, 100 * 1024);
    const auto got = convertedByBuffers(samples, 48000);
    ASSERT_EQ(got.size(), 100U * 512);
    EXPECT_GT(decibels(tone(440, 24000, got.size()), got), 90);
}

TEST(SoxrSampleRateConverter, JoinsTheBuffersOfATonePlayedAtAnyRate) {
    for (const double rate :
         {8000.0, 11025.0, 16000.0, 22050.0, 32000.0, 44100.0, 88200.0, 96000.0, 192000.0}) {
        const auto got = convertedByBuffers(tone(440, rate, 200 * 1024), rate);
        const auto frames = static_cast<std::size_t>(1024 * 24000 / rate);
        ASSERT_EQ(got.size(), 200 * frames) << rate;
        // The rate at which a buffer's whole frames last as long as the buffer.
        const double outputRate = static_cast<double>(frames) * rate / 1024;
        EXPECT_NEAR(outputRate, 24000, 24000 * 0.003) << rate;
        EXPECT_GT(decibels(tone(440, outputRate, got.size()), got), 55) << rate;
    }
}

TEST(SoxrSampleRateConverter, JoinsBuffersOfChangingLengths) {
    const auto samples = tone(440, 44100, 20 * 1024);
    SoxrSampleRateConverters converters;
    const auto converter = converters.make({44100, 1}, 24000);
    std::size_t start = 0;
    for (const std::size_t length : {1024UL, 700UL, 1024UL, 1024UL, 13UL, 1UL, 2UL, 1024UL, 1023UL, 1024UL}) {
        PcmBuffer buffer({44100, 1}, length);
        std::ranges::copy(std::span(samples).subspan(start, length), buffer.channel(0).begin());
        converter->reset();
        const auto got = converter->convert(buffer, length);
        ASSERT_EQ(got.size(), length * 80 / 147) << length;
        // The first and the last sample have the values of the tone at these moments.
        if (got.size() > 1) {
            const double last = static_cast<double>(start) + static_cast<double>((got.size() - 1) * length) /
                                                                 static_cast<double>(got.size());
            for (const auto& [sample, moment] :
                 {std::pair(got.front(), static_cast<double>(start)), std::pair(got.back(), last)})
                EXPECT_NEAR(sample / 32767.0, 0.9 * std::sin(2 * std::numbers::pi * 440 * moment / 44100),
                            0.02)
                    << length;
        }
        start += length;
    }
}

TEST(SoxrSampleRateConverter, JoinsTheBuffersOfSpeech) {
    adapters::ffmpeg::FfmpegAudioFiles files{ffmpegModule()};
    const auto audio = files.read(voiceFile(voices().front().name), {48000, 1});
    const auto samples = audio->channel(0);
    adapters::ffmpeg::StreamResampler atOnce(48000, 24000, 1);
    adapters::ffmpeg::Planes planes(1);
    const float* const input = samples.data();
    atOnce.process(std::span(&input, 1), samples.size(), planes);
    atOnce.finish(planes);
    EXPECT_GT(decibels(planes[0], convertedByBuffers(samples, 48000)), 65);
}

TEST(SoxrSampleRateConverter, AveragesTheChannels) {
    const auto samples = tone(440, 48000, 4096);
    EXPECT_EQ(convertedByBuffers(samples, 48000, 4), convertedByBuffers(samples, 48000, 1));

    PcmBuffer opposite({48000, 2}, 1024);
    std::ranges::copy(std::span(samples).first(1024), opposite.channel(0).begin());
    for (std::size_t i = 0; i < 1024; ++i)
        opposite.channel(1)[i] = -samples[i];
    SoxrSampleRateConverters converters;
    const auto got = converters.make({48000, 2}, 24000)->convert(opposite, 512);
    EXPECT_TRUE(std::ranges::all_of(got, [](std::int16_t sample) { return sample == 0; }));
}

TEST(SoxrSampleRateConverter, SurvivesNanSamples) {
    PcmBuffer buffer({48000, 1}, 1024);
    std::ranges::fill(buffer.channel(0), std::numeric_limits<float>::quiet_NaN());
    SoxrSampleRateConverters converters;
    const auto converter = converters.make({48000, 1}, 24000);
    EXPECT_EQ(converter->convert(buffer, 512), base::WipedVector<std::int16_t>(512, 0));

    std::ranges::copy(tone(440, 48000, 1024), buffer.channel(0).begin());
    converter->reset();
    const auto after = converter->convert(buffer, 512);
    EXPECT_TRUE(std::ranges::any_of(after, [](std::int16_t sample) { return sample != 0; }));
    std::ranges::fill(buffer.channel(0), 5.0F);
    converter->reset();
    EXPECT_EQ(converter->convert(buffer, 512)[256], 32767);
}

} // namespace sonvale::tests
