#include "audio/VoiceActivityDetector.h"

#include "runtime/ManualClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace sonvale::audio {

namespace {

constexpr float speech = 0.1F;
constexpr float silence = 0.001F;
constexpr float between = 0.01F;

class VoiceActivityDetectorTest : public testing::Test {
protected:
    VoiceActivityDetectorTest() {
        detector.onEndOfUtterance = [this] { fired.push_back(clock.now() - begin); };
    }
    void processAfter(double seconds, float level) {
        clock.advance(seconds);
        detector.process(level);
    }

    runtime::ManualClock clock;
    const double begin = clock.now();
    VoiceActivityDetector detector{clock};
    std::vector<double> fired;
};

} // namespace

TEST_F(VoiceActivityDetectorTest, StartsInactiveWithADelayOfOneAndAHalfSeconds) {
    EXPECT_FALSE(detector.isSpeaking.get());
    EXPECT_EQ(detector.silenceDuration.get(), 0);
    EXPECT_EQ(detector.endOfUtteranceDelay, 1.5);
    EXPECT_EQ(VoiceActivityDetector::speechThreshold, 0.015F);
    EXPECT_EQ(VoiceActivityDetector::silenceThreshold, 0.008F);

    processAfter(0, speech);
    processAfter(5, silence);

    EXPECT_FALSE(detector.isSpeaking.get());
    EXPECT_EQ(detector.silenceDuration.get(), 0);
    EXPECT_TRUE(fired.empty());
}

TEST_F(VoiceActivityDetectorTest, TheThresholdsThemselvesAreNeitherSpeechNorSilence) {
    detector.start();
    processAfter(0, 0.015F);
    EXPECT_FALSE(detector.isSpeaking.get());
    processAfter(0, std::nextafter(0.015F, 1.0F));
    EXPECT_TRUE(detector.isSpeaking.get());

    processAfter(10, 0.008F);
    EXPECT_EQ(detector.silenceDuration.get(), 0);
    EXPECT_TRUE(fired.empty());
    processAfter(0, std::nextafter(0.008F, 0.0F));
    EXPECT_EQ(fired, std::vector<double>{10});
}

TEST_F(VoiceActivityDetectorTest, SilenceWithoutEarlierSpeechNeverFires) {
    detector.start();
    for (int hour = 0; hour < 24; ++hour)
        processAfter(3600, silence);
    EXPECT_EQ(detector.silenceDuration.get(), 0);
    EXPECT_TRUE(fired.empty());
}

TEST_F(VoiceActivityDetectorTest, SilenceAsLongAsTheDelayFires) {
    detector.start();
    processAfter(1, speech);
    processAfter(1.5, silence);
    EXPECT_EQ(fired, std::vector<double>{2.5});
}

TEST_F(VoiceActivityDetectorTest, SilenceShorterThanTheDelayDoesNotFire) {
    detector.start();
    processAfter(1, speech);
    processAfter(1.499, silence);
    EXPECT_TRUE(fired.empty());
    EXPECT_TRUE(detector.isSpeaking.get());
    EXPECT_NEAR(detector.silenceDuration.get(), 1.499, 1e-9);
}

TEST_F(VoiceActivityDetectorTest, DecimalStepsAddUpToTheDelay) {
    detector.start();
    processAfter(0.05, speech);
    for (int step = 0; step < 30; ++step)
        processAfter(0.05, silence);
    ASSERT_EQ(fired.size(), 1U);
    EXPECT_NEAR(fired[0], 1.55, 1e-6);
}

TEST_F(VoiceActivityDetectorTest, ALevelBetweenTheThresholdsOnlyLetsTimePass) {
    detector.start();
    processAfter(0, speech);
    processAfter(1, silence);
    EXPECT_NEAR(detector.silenceDuration.get(), 1, 1e-9);
    processAfter(60, between);
    EXPECT_NEAR(detector.silenceDuration.get(), 1, 1e-9);
    EXPECT_TRUE(detector.isSpeaking.get());
    EXPECT_TRUE(fired.empty());

    processAfter(0.05, silence);
    EXPECT_EQ(fired.size(), 1U);
}

TEST_F(VoiceActivityDetectorTest, SpeechRestartsTheWait) {
    detector.start();
    processAfter(0, speech);
    processAfter(1.4, silence);
    processAfter(0.05, speech);
    EXPECT_EQ(detector.silenceDuration.get(), 0);
    processAfter(1.4, silence);
    EXPECT_TRUE(fired.empty());
    processAfter(0.1, silence);
    EXPECT_EQ(fired.size(), 1U);
}

TEST_F(VoiceActivityDetectorTest, FiresOnceForAnUtterance) {
    detector.start();
    processAfter(0, speech);
    processAfter(2, silence);
    EXPECT_FALSE(detector.isSpeaking.get());
    EXPECT_EQ(detector.silenceDuration.get(), 0);
    processAfter(2, silence);
    processAfter(2, between);
    processAfter(2, silence);
    EXPECT_EQ(fired, std::vector<double>{2});

    processAfter(0, speech);
    processAfter(2, silence);
    EXPECT_EQ(fired, (std::vector<double>{2, 10}));
}

TEST_F(VoiceActivityDetectorTest, TheStateIsClearedBeforeTheCallback) {
    detector.start();
    bool wasSpeaking = true;
    double silenceBefore = -1;
    detector.onEndOfUtterance = [&] {
        wasSpeaking = detector.isSpeaking.get();
        silenceBefore = detector.silenceDuration.get();
    };
    processAfter(0, speech);
    processAfter(2, silence);
    EXPECT_FALSE(wasSpeaking);
    EXPECT_EQ(silenceBefore, 0);
}

TEST_F(VoiceActivityDetectorTest, ClearsTheStateWithoutACallback) {
    detector.onEndOfUtterance = nullptr;
    detector.start();
    processAfter(0, speech);
    processAfter(2, silence);
    EXPECT_FALSE(detector.isSpeaking.get());
    EXPECT_EQ(detector.silenceDuration.get(), 0);
}

TEST_F(VoiceActivityDetectorTest, TheCallbackMayStopItAndRemoveItself) {
    detector.start();
    detector.onEndOfUtterance = [this] {
        detector.onEndOfUtterance = nullptr;
        detector.stop();
        fired.push_back(clock.now() - begin);
    };
    processAfter(0, speech);
    processAfter(2, silence);
    processAfter(0, speech);
    processAfter(2, silence);
    EXPECT_EQ(fired, std::vector<double>{2});
    EXPECT_FALSE(detector.isSpeaking.get());
}

TEST_F(VoiceActivityDetectorTest, StartAndStopClearTheUtterance) {
    detector.start();
    processAfter(0, speech);
    processAfter(1, silence);
    detector.stop();
    EXPECT_FALSE(detector.isSpeaking.get());
    EXPECT_EQ(detector.silenceDuration.get(), 0);

    detector.start();
    processAfter(5, silence);
    EXPECT_TRUE(fired.empty());

    processAfter(0, speech);
    detector.start();
    EXPECT_FALSE(detector.isSpeaking.get());
    processAfter(5, silence);
    EXPECT_TRUE(fired.empty());
}

TEST_F(VoiceActivityDetectorTest, ResetForgetsTheUtteranceAndContinues) {
    detector.start();
    processAfter(0, speech);
    processAfter(1, silence);
    detector.resetForNextUtterance();
    EXPECT_FALSE(detector.isSpeaking.get());
    EXPECT_EQ(detector.silenceDuration.get(), 0);
    processAfter(5, silence);
    EXPECT_TRUE(fired.empty());

    processAfter(0, speech);
    processAfter(1.5, silence);
    EXPECT_EQ(fired.size(), 1U);
}

TEST_F(VoiceActivityDetectorTest, ResetDoesNothingWhileInactive) {
    detector.isSpeaking = true;
    detector.silenceDuration = 0.7;
    detector.resetForNextUtterance();
    EXPECT_TRUE(detector.isSpeaking.get());
    EXPECT_EQ(detector.silenceDuration.get(), 0.7);

    processAfter(0, speech);
    processAfter(5, silence);
    EXPECT_TRUE(fired.empty());
    EXPECT_EQ(detector.silenceDuration.get(), 0.7);
}

TEST_F(VoiceActivityDetectorTest, ALongerIntervalOnlyDelaysTheNotification) {
    detector.start();
    processAfter(0, speech);
    processAfter(600, silence);
    EXPECT_EQ(fired, std::vector<double>{600});
}

TEST_F(VoiceActivityDetectorTest, TheDelayCanBeSetWhileItRuns) {
    detector.start();
    processAfter(0, speech);
    detector.endOfUtteranceDelay = 2;
    processAfter(1.9, silence);
    EXPECT_TRUE(fired.empty());
    detector.endOfUtteranceDelay = VoiceActivityDetector::defaultEndOfUtteranceDelay;
    processAfter(0, silence);
    EXPECT_EQ(fired.size(), 1U);
}

TEST_F(VoiceActivityDetectorTest, ALevelThatIsNotANumberIsNeitherSpeechNorSilence) {
    detector.start();
    processAfter(0, std::numeric_limits<float>::quiet_NaN());
    EXPECT_FALSE(detector.isSpeaking.get());
    processAfter(0, std::numeric_limits<float>::infinity());
    EXPECT_TRUE(detector.isSpeaking.get());
    processAfter(5, std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(detector.silenceDuration.get(), 0);
    EXPECT_TRUE(fired.empty());
}

TEST_F(VoiceActivityDetectorTest, NotifiesObserversIfAValueChangesOnly) {
    std::vector<bool> states;
    const auto subscription =
        detector.isSpeaking.subscribe([&states](bool isSpeaking) { states.push_back(isSpeaking); });
    detector.start();
    processAfter(0, speech);
    processAfter(0.05, speech);
    processAfter(0.05, between);
    processAfter(1.5, silence);
    processAfter(1.5, silence);
    EXPECT_EQ(states, (std::vector<bool>{true, false}));
}

} // namespace sonvale::audio
