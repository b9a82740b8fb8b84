#include "audio/Level.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace sonvale::audio {

namespace {

platform::PcmBuffer bufferOf(const std::vector<std::vector<float>>& channels) {
    platform::PcmBuffer buffer({48000, static_cast<std::uint32_t>(channels.size())},
                               channels.empty() ? 0 : channels.front().size());
    for (std::size_t channel = 0; channel < channels.size(); ++channel)
        std::copy(channels[channel].begin(), channels[channel].end(), buffer.channel(channel).begin());
    return buffer;
}

} // namespace

TEST(Level, IsTheRootOfTheMeanOfTheSquares) {
    EXPECT_FLOAT_EQ(level(bufferOf({{1, -1, 1, -1}})), 1);
    EXPECT_FLOAT_EQ(level(bufferOf({{0.6F, -0.8F}})), std::sqrt(0.5F));
    EXPECT_FLOAT_EQ(level(bufferOf({{-0.25F}})), 0.25F);
}

TEST(Level, OfSilenceIsZero) {
    EXPECT_EQ(level(bufferOf({{0, 0, 0}})), 0);
}

TEST(Level, UsesTheFirstChannelOnly) {
    EXPECT_FLOAT_EQ(level(bufferOf({{0.5F, 0.5F}, {1, 1}})), 0.5F);
}

TEST(Level, WithoutFramesOrChannelsIsZero) {
    EXPECT_EQ(level(bufferOf({{}})), 0);
    EXPECT_EQ(level(platform::PcmBuffer({48000, 0}, 1024)), 0);
}

TEST(Level, OfAFullBufferOfASineIsItsAmplitudeOverTheRootOfTwo) {
    std::vector<float> sine(4800);
    for (std::size_t i = 0; i < sine.size(); ++i)
        sine[i] = 0.3F * std::sin(2 * 3.14159265F * 100 * static_cast<float>(i) / 48000);
    EXPECT_NEAR(level(bufferOf({sine})), 0.3F / std::sqrt(2.0F), 1e-4);
}

} // namespace sonvale::audio
