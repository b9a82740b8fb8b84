#pragma once

#include "platform/AudioEngine.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace sonvale::tests {

/// Records what a tap receives.
class TapRecord {
public:
    platform::AudioEngine::TapBlock block() {
        return [this](const platform::PcmBufferPtr& buffer) {
            const std::lock_guard lock(mutex_);
            buffers_.push_back(buffer);
        };
    }

    std::vector<platform::PcmBufferPtr> buffers() const {
        const std::lock_guard lock(mutex_);
        return buffers_;
    }

    std::size_t frames() const {
        std::size_t count = 0;
        for (const auto& buffer : buffers())
            count += buffer->frameLength();
        return count;
    }

    std::vector<float> samples(std::size_t channel = 0) const {
        std::vector<float> result;
        for (const auto& buffer : buffers()) {
            const auto plane = buffer->channel(channel);
            result.insert(result.end(), plane.begin(), plane.end());
        }
        return result;
    }

private:
    mutable std::mutex mutex_;
    std::vector<platform::PcmBufferPtr> buffers_;
};

/// Returns `count` different samples that continue the samples of an earlier `first`.
inline std::vector<float> distinctSamples(std::size_t count, std::size_t first = 0) {
    std::vector<float> samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<float>(first + i + 1) / 65536;
    return samples;
}

/// Samples that do not fill a buffer cannot be observed: waits until even a busy machine has brought them to
/// the engine.
inline void waitForTheRest() {
    pauseMilliseconds(200);
}

inline std::vector<float> negated(std::vector<float> samples) {
    for (float& sample : samples)
        sample = -sample;
    return samples;
}

/// The rules of `platform::AudioEngine`. A rig has a microphone of 48 kHz that the test controls:
///
///     static constexpr bool hasADelay;               // samples take a while from `speak` to the engine
///     explicit Rig(int channels);
///     platform::AudioEngines& engines();
///     void speak(const std::vector<float>& samples); // on channel 0; the others hear the negatives
///     void unplug();                                 // no real input is left
template <class Rig>
class AudioEngineContract : public testing::Test {};

TYPED_TEST_SUITE_P(AudioEngineContract);

TYPED_TEST_P(AudioEngineContract, ReportsTheFormatOfTheInput) {
    TypeParam rig(2);
    const auto engine = rig.engines().makeEngine();
    EXPECT_EQ(engine->inputFormat(), (platform::AudioFormat{48000, 2}));
    EXPECT_EQ(engine->outputFormat(), engine->inputFormat());
    EXPECT_FALSE(engine->isRunning());
}

TYPED_TEST_P(AudioEngineContract, DeliversBuffersOfTheRequestedSizeInOrderWithoutGaps) {
    TypeParam rig(1);
    TapRecord tap;
    const auto engine = rig.engines().makeEngine();
    engine->installTap(1024, tap.block());
    engine->start();
    EXPECT_TRUE(engine->isRunning());

    std::size_t spoken = 0;
    for (const std::size_t piece : {1UL, 3000UL, 1023UL, 1024UL, 1025UL, 5000UL, 467UL}) {
        rig.speak(distinctSamples(piece, spoken));
        spoken += piece;
    }
    EXPECT_TRUE(eventually(10, [&] { return tap.frames() >= spoken / 1024 * 1024; }));
    waitForTheRest();
    engine->removeTap();
    engine->stop();

    EXPECT_EQ(tap.samples(), distinctSamples(spoken));
    const auto buffers = tap.buffers();
    ASSERT_EQ(buffers.size(), spoken / 1024 + 1);
    for (std::size_t i = 0; i + 1 < buffers.size(); ++i)
        EXPECT_EQ(buffers[i]->frameLength(), 1024U);
    EXPECT_EQ(buffers.back()->frameLength(), spoken % 1024);
    EXPECT_EQ(buffers.back()->format(), engine->outputFormat());
}

TYPED_TEST_P(AudioEngineContract, KeepsTheChannelsSeparate) {
    TypeParam rig(2);
    TapRecord tap;
    const auto engine = rig.engines().makeEngine();
    engine->installTap(1024, tap.block());
    engine->start();
    rig.speak(distinctSamples(2500));
    EXPECT_TRUE(eventually(10, [&] { return tap.frames() >= 2048; }));
    waitForTheRest();
    engine->removeTap();
    EXPECT_EQ(tap.samples(0), distinctSamples(2500));
    EXPECT_EQ(tap.samples(1), negated(distinctSamples(2500)));
}

TYPED_TEST_P(AudioEngineContract, DeliversEverythingSpokenBeforeADrain) {
    TypeParam rig(1);
    const auto spoken = distinctSamples(1500);
    int complete = 0;
    for (int round = 0; round < 10; ++round) {
        TapRecord tap;
        const auto engine = rig.engines().makeEngine();
        engine->installTap(1024, tap.block());
        engine->start();
        rig.speak(spoken);
        const double start = monotonicSeconds();
        engine->drain();
        const double waited = monotonicSeconds() - start;
        const auto received = tap.samples();
        // On a busy machine the audio may need longer than the wait. No other loss is allowed.
        ASSERT_TRUE(received.size() == spoken.size() || (TypeParam::hasADelay && waited >= 0.055))
            << "round " << round << ": " << received.size() << " samples after " << waited << " s";
        ASSERT_LE(received.size(), spoken.size());
        EXPECT_TRUE(std::equal(received.begin(), received.end(), spoken.begin()));
        complete += received.size() == spoken.size();
        engine->removeTap();
        engine->stop();
        // Samples that came too late must not reach the next engine.
        waitForTheRest();
    }
    EXPECT_GE(complete, TypeParam::hasADelay ? 1 : 10);
}

TYPED_TEST_P(AudioEngineContract, ContinuesWithoutAGapAfterADrain) {
    TypeParam rig(1);
    TapRecord tap;
    const auto engine = rig.engines().makeEngine();
    engine->installTap(1024, tap.block());
    engine->start();
    std::size_t spoken = 0;
    for (const std::size_t piece : {500UL, 1500UL, 2500UL}) {
        rig.speak(distinctSamples(piece, spoken));
        spoken += piece;
        waitForTheRest();
        engine->drain();
        EXPECT_EQ(tap.frames(), spoken);
        EXPECT_TRUE(engine->isRunning());
    }
    EXPECT_EQ(tap.samples(), distinctSamples(spoken));
    for (const auto& buffer : tap.buffers())
        EXPECT_LE(buffer->frameLength(), 1024U);
    engine->drain();
    EXPECT_EQ(tap.frames(), spoken) << "an empty drain delivers nothing";
}

TYPED_TEST_P(AudioEngineContract, DrainsNothingWithoutATapOrACapture) {
    TypeParam rig(1);
    TapRecord tap;
    const auto engine = rig.engines().makeEngine();
    engine->drain();
    engine->installTap(1024, tap.block());
    engine->drain();
    EXPECT_EQ(tap.frames(), 0U);
    engine->start();
    engine->stop();
    engine->drain();
    EXPECT_FALSE(engine->isRunning());
}

TYPED_TEST_P(AudioEngineContract, DeliversNothingAfterTheTapWasRemoved) {
    TypeParam rig(1);
    TapRecord tap;
    const auto engine = rig.engines().makeEngine();
    engine->installTap(1024, tap.block());
    engine->start();
    engine->removeTap();
    const auto before = tap.frames();
    rig.speak(distinctSamples(5000));
    pauseMilliseconds(50);
    EXPECT_EQ(tap.frames(), before);
    EXPECT_TRUE(engine->isRunning());
}

TYPED_TEST_P(AudioEngineContract, StopsWhenStopped) {
    TypeParam rig(1);
    TapRecord tap;
    const auto engine = rig.engines().makeEngine();
    engine->installTap(1024, tap.block());
    engine->start();
    engine->stop();
    EXPECT_FALSE(engine->isRunning());
    const auto before = tap.frames();
    rig.speak(distinctSamples(5000));
    pauseMilliseconds(50);
    EXPECT_EQ(tap.frames(), before);
    engine->stop();
    engine->removeTap();
}

TYPED_TEST_P(AudioEngineContract, StopsAtItsDestruction) {
    TypeParam rig(1);
    TapRecord tap;
    auto engine = rig.engines().makeEngine();
    engine->installTap(1024, tap.block());
    engine->start();
    rig.speak(distinctSamples(5000));
    engine.reset();
    const auto before = tap.frames();
    rig.speak(distinctSamples(5000));
    pauseMilliseconds(50);
    EXPECT_EQ(tap.frames(), before);
}

TYPED_TEST_P(AudioEngineContract, IgnoresTheRemovalOfAMissingTap) {
    TypeParam rig(1);
    const auto engine = rig.engines().makeEngine();
    engine->removeTap();
    engine->start();
    rig.speak(distinctSamples(5000));
    engine->removeTap();
    EXPECT_TRUE(engine->isRunning());
}

TYPED_TEST_P(AudioEngineContract, DeliversTheCapturedAudioWhenTheDeviceIsUnplugged) {
    TypeParam rig(1);
    TapRecord tap;
    const auto engine = rig.engines().makeEngine();
    engine->installTap(1024, tap.block());
    engine->start();
    rig.speak(distinctSamples(2500));
    EXPECT_TRUE(eventually(10, [&] { return tap.frames() >= 2048; }));
    waitForTheRest();

    rig.unplug();
    EXPECT_TRUE(eventually(10, [&] { return !engine->isRunning(); }));
    engine->removeTap();
    EXPECT_EQ(tap.samples(), distinctSamples(2500));
    engine->stop();
}

TYPED_TEST_P(AudioEngineContract, HasNoChannelsWithoutAnInputAndDoesNotStart) {
    TypeParam rig(1);
    rig.unplug();
    const auto engine = rig.engines().makeEngine();
    EXPECT_EQ(engine->inputFormat().channelCount, 0U);
    TapRecord tap;
    engine->installTap(1024, tap.block());
    EXPECT_THROW(engine->start(), platform::AudioEngineError);
    EXPECT_FALSE(engine->isRunning());
    engine->removeTap();
    engine->stop();
}

REGISTER_TYPED_TEST_SUITE_P(AudioEngineContract, ReportsTheFormatOfTheInput,
                            DeliversBuffersOfTheRequestedSizeInOrderWithoutGaps, KeepsTheChannelsSeparate,
                            DeliversEverythingSpokenBeforeADrain, ContinuesWithoutAGapAfterADrain,
                            DrainsNothingWithoutATapOrACapture, DeliversNothingAfterTheTapWasRemoved,
                            StopsWhenStopped, StopsAtItsDestruction, IgnoresTheRemovalOfAMissingTap,
                            DeliversTheCapturedAudioWhenTheDeviceIsUnplugged,
                            HasNoChannelsWithoutAnInputAndDoesNotStart);

} // namespace sonvale::tests
