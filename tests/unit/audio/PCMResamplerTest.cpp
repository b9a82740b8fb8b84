#include "audio/PCMResampler.h"

#include "tests/fakes/FakeSampleRateConverters.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::audio {

namespace {

class PCMResamplerTest : public testing::Test {
protected:
    std::optional<std::string> resample(platform::AudioFormat format, std::vector<float> samples) {
        platform::PcmBuffer buffer(format, samples.size());
        if (format.channelCount > 0)
            std::ranges::copy(samples, buffer.channel(0).begin());
        const auto bytes = resampler_.resample(buffer);
        return bytes ? std::optional<std::string>(std::in_place, *bytes) : std::nullopt;
    }
    int countOf(std::string_view line) const {
        const auto lines = log_.lines();
        return static_cast<int>(std::ranges::count(lines, line, &base::LogLine::text));
    }

    tests::LogCapture log_;
    tests::FakeSampleRateConverters converters_;
    PCMResampler resampler_{converters_};
};

} // namespace

TEST_F(PCMResamplerTest, WritesSamplesWithTheLowByteFirst) {
    const auto bytes = resample({24000, 1}, {1.0F, -1.0F, 0, 258 / 32767.0F});
    EXPECT_EQ(bytes, std::string("\xff\x7f\x01\x80\x00\x00\x02\x01", 8));
}

TEST_F(PCMResamplerTest, HalvesTheFramesOfTwiceTheRate) {
    EXPECT_EQ(resample({48000, 2}, std::vector<float>(1024))->size(), 1024U);
}

TEST_F(PCMResamplerTest, ReusesTheConverterOfAFormatAndResetsItForEachBuffer) {
    resample({48000, 1}, std::vector<float>(8));
    resample({48000, 1}, std::vector<float>(8));
    EXPECT_EQ(converters_.control().made, 1);
    resample({48000, 2}, std::vector<float>(8));
    EXPECT_EQ(converters_.control().made, 2);
    EXPECT_EQ(converters_.control().resets, 3);
    EXPECT_EQ(countOf("PCMResampler: Created new converter — input: 48000.000000 Hz, 1 ch"), 1);
}

TEST_F(PCMResamplerTest, ReturnsNulloptForBuffersThatItCannotConvert) {
    converters_.control().refuses = true;
    EXPECT_EQ(resample({48000, 1}, std::vector<float>(8)), std::nullopt);
    EXPECT_EQ(
        countOf("PCMResampler: Failed to create AVAudioConverter from 1 ch, 48000 Hz, Float32 to target "
                "format"),
        1);
    converters_.control().refuses = false;
    EXPECT_NE(resample({48000, 1}, std::vector<float>(8)), std::nullopt) << "the next buffer is tried anew";

    EXPECT_EQ(resample({48000, 1}, {}), std::nullopt);
    EXPECT_EQ(countOf("PCMResampler: Skipping empty buffer (0 frames)"), 1);

    converters_.control().fails = true;
    EXPECT_EQ(resample({48000, 1}, std::vector<float>(8)), std::nullopt);
    EXPECT_EQ(countOf("PCMResampler: Conversion error — the converter failed"), 1);
    converters_.control().fails = false;

    EXPECT_EQ(resample({48000, 1}, std::vector<float>(1)), std::nullopt) << "less than one frame";
    EXPECT_EQ(countOf("PCMResampler: Conversion produced no frames (status: 0)"), 1);
    EXPECT_EQ(resample({0, 0}, {}), std::nullopt);
}

TEST_F(PCMResamplerTest, KeepsTheConverterIfANewOneCannotBeMade) {
    resample({48000, 1}, std::vector<float>(8));
    converters_.control().refuses = true;
    EXPECT_EQ(resample({44100, 1}, std::vector<float>(8)), std::nullopt);
    EXPECT_NE(resample({48000, 1}, std::vector<float>(8)), std::nullopt);
    EXPECT_EQ(converters_.control().made, 1);
}

} // namespace sonvale::audio
