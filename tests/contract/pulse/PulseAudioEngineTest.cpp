#include "adapters/pulse/PulseAudioEngine.h"

#include "tests/contract/AudioEngineContract.h"
#include "tests/support/PipeMicrophone.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>

namespace sonvale::tests {

using adapters::pulse::PulseAudioEngines;

namespace {

class PulseRig {
public:
    static constexpr bool hasADelay = true;
    explicit PulseRig(int channels)
        : microphone_(sound_, "pipemic", channels) {}
    platform::AudioEngines& engines() { return engines_; }
    void speak(const std::vector<float>& samples) { microphone_.speak(samples); }
    void unplug() { microphone_.unplug(); }

private:
    PrivateSound sound_{PrivateSound::Microphone::absent};
    PipeMicrophone microphone_;
    PulseAudioEngines engines_{sound_.serverAddress()};
};

/// Writes a 16-bit sound file with these samples.
std::string writeWav(const std::string& path, int channels, const std::vector<std::int16_t>& samples) {
    const auto put = [file = std::make_shared<std::ofstream>(path, std::ios::binary)](auto value) {
        file->write(reinterpret_cast<const char*>(&value), sizeof(value));
    };
    const auto bytes = static_cast<std::uint32_t>(samples.size() * 2);
    const auto tag = [&put](const char* text) { std::for_each_n(text, 4, put); };
    tag("RIFF");
    put(36 + bytes);
    tag("WAVE");
    tag("fmt ");
    put(std::uint32_t{16});
    put(std::uint16_t{1});
    put(static_cast<std::uint16_t>(channels));
    put(std::uint32_t{48000});
    put(static_cast<std::uint32_t>(48000 * channels * 2));
    put(static_cast<std::uint16_t>(channels * 2));
    put(std::uint16_t{16});
    tag("data");
    put(bytes);
    for (const auto sample : samples)
        put(sample);
    return path;
}

std::size_t threadCount() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

double secondsOf(const std::function<void()>& work) {
    const double start = monotonicSeconds();
    work();
    return monotonicSeconds() - start;
}

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Pulse, AudioEngineContract, PulseRig);

TEST(PulseAudioEngine, RecordsTheMicrophoneWithoutAGap) {
    PrivateSound sound(PrivateSound::Microphone::present, 48000, 2);
    // Counts up on the left and down on the right, so that every sample identifies itself.
    std::vector<std::int16_t> ramp;
    for (int i = 1; i <= 30000; ++i) {
        ramp.push_back(static_cast<std::int16_t>(i));
        ramp.push_back(static_cast<std::int16_t>(-i));
    }
    const auto file = writeWav(sound.directory() + "/ramp.wav", 2, ramp);

    PulseAudioEngines engines(sound.serverAddress());
    const auto engine = engines.makeEngine();
    EXPECT_EQ(engine->inputFormat(), (platform::AudioFormat{48000, 2}));
    TapRecord tap;
    engine->installTap(1024, tap.block());
    engine->start();
    auto player = sound.play(file, 300);
    EXPECT_EQ(player.wait(20), 0);
    engine->drain();
    engine->removeTap();
    engine->stop();

    const auto left = tap.samples(0);
    const auto right = tap.samples(1);
    const auto first = std::ranges::find_if(left, [](float sample) { return sample != 0; });
    const auto start = static_cast<std::size_t>(first - left.begin());
    ASSERT_LE(start + 29000, left.size()) << "paplay ends a little before its last samples are out";
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < 29000; ++i) {
        const auto number = static_cast<float>(i + 1);
        wrong += std::abs(left[start + i] * 32768 - number) > 0.5F ||
                 std::abs(right[start + i] * 32768 + number) > 0.5F;
    }
    EXPECT_EQ(wrong, 0U);
}

TEST(PulseAudioEngine, StartsWithinFifteenMilliseconds) {
    PrivateSound sound;
    PulseAudioEngines engines(sound.serverAddress());
    double best = 1;
    for (int round = 0; round < 20; ++round) {
        best = std::min(best, secondsOf([&] { engines.makeEngine()->start(); }));
    }
    EXPECT_LT(best, 0.015);
}

TEST(PulseAudioEngine, KeepsNoThreadBetweenRecordings) {
    PrivateSound sound;
    PulseAudioEngines engines(sound.serverAddress());
    const auto before = threadCount();
    {
        const auto engine = engines.makeEngine();
        engine->start();
        EXPECT_EQ(threadCount(), before + 1);
    }
    EXPECT_EQ(threadCount(), before);
}

TEST(PulseAudioEngine, HasNoInputWithoutAServer) {
    const auto before = threadCount();
    PulseAudioEngines engines("unix:/nonexistent/native");
    const auto engine = engines.makeEngine();
    EXPECT_EQ(engine->inputFormat().channelCount, 0U);
    EXPECT_THROW(engine->start(), platform::AudioEngineError);
    EXPECT_EQ(threadCount(), before);
}

TEST(PulseAudioEngine, DoesNotUseTheMonitorOfAnOutputAsAnInput) {
    PrivateSound sound(PrivateSound::Microphone::absent);
    PulseAudioEngines engines(sound.serverAddress());
    EXPECT_EQ(engines.makeEngine()->inputFormat().channelCount, 0U);
    sound.addMicrophone();
    EXPECT_EQ(engines.makeEngine()->inputFormat(), (platform::AudioFormat{48000, 1}));
    sound.removeMicrophone();
    EXPECT_EQ(engines.makeEngine()->inputFormat().channelCount, 0U);
}

TEST(PulseAudioEngine, RecordsARealInputWhenAMonitorIsTheDefault) {
    PrivateSound sound(PrivateSound::Microphone::absent);
    PipeMicrophone microphone(sound, "pipemic", 2);
    sound.control({"set-default-source", "vmic.monitor"});
    PulseAudioEngines engines(sound.serverAddress());
    const auto engine = engines.makeEngine();
    EXPECT_EQ(engine->inputFormat(), (platform::AudioFormat{48000, 2}));
    TapRecord tap;
    engine->installTap(1024, tap.block());
    engine->start();
    microphone.speak(distinctSamples(1024));
    EXPECT_TRUE(eventually(10, [&] { return tap.frames() == 1024; }));
    EXPECT_EQ(tap.samples(1), negated(distinctSamples(1024)));
}

TEST(PulseAudioEngine, FollowsToAnotherMicrophoneInItsOwnFormat) {
    PrivateSound sound(PrivateSound::Microphone::absent);
    PipeMicrophone first(sound, "first", 1);
    PulseAudioEngines engines(sound.serverAddress());
    const auto engine = engines.makeEngine();
    TapRecord tap;
    engine->installTap(256, tap.block());
    engine->start();
    first.speak(distinctSamples(512));
    EXPECT_TRUE(eventually(10, [&] { return tap.frames() == 512; }));

    PipeMicrophone second(sound, "second", 2);
    sound.control({"move-source-output", "0", "second"});
    second.speak(std::vector<float>(4096, 0));
    EXPECT_TRUE(eventually(10, [&] { return tap.frames() >= 4096; }));
    EXPECT_TRUE(engine->isRunning());
    for (const auto& buffer : tap.buffers())
        EXPECT_EQ(buffer->format(), engine->outputFormat());
}

TEST(PulseAudioEngine, DoesNotRecordTheSpeakersWhenTheMicrophoneIsUnplugged) {
    PrivateSound sound;
    const auto file =
        writeWav(sound.directory() + "/loud.wav", 1, std::vector<std::int16_t>(48000 * 10, 20000));
    PulseAudioEngines engines(sound.serverAddress());
    TapRecord tap;
    const auto engine = engines.makeEngine();
    engine->installTap(1024, tap.block());
    engine->start();
    const auto player = sound.play(file);
    EXPECT_TRUE(eventually(10, [&] { return tap.frames() >= 9600; }));

    sound.removeMicrophone();
    EXPECT_TRUE(eventually(10, [&] { return !engine->isRunning(); }));
    const auto before = tap.frames();
    EXPECT_GE(before, 9600U);
    pauseMilliseconds(200);
    EXPECT_EQ(tap.frames(), before);
    EXPECT_LT(secondsOf([&] { engine->drain(); }), 5);
    engine->removeTap();
    engine->stop();
}

TEST(PulseAudioEngine, GivesUpOnAFrozenServerAfterTwoSeconds) {
    PrivateSound sound;
    PulseAudioEngines engines(sound.serverAddress());
    const auto made = engines.makeEngine();
    sound.server().signal(SIGSTOP);

    std::unique_ptr<platform::AudioEngine> engine;
    EXPECT_LT(secondsOf([&] { engine = engines.makeEngine(); }), 10);
    EXPECT_EQ(engine->inputFormat().channelCount, 0U);
    EXPECT_LT(secondsOf([&] { EXPECT_THROW(made->start(), platform::AudioEngineError); }), 10);
    EXPECT_FALSE(made->isRunning());
    sound.server().signal(SIGCONT);
}

TEST(PulseAudioEngine, EndsWhenTheServerFreezesDuringACapture) {
    PrivateSound sound;
    PulseAudioEngines engines(sound.serverAddress());
    auto engine = engines.makeEngine();
    TapRecord tap;
    engine->installTap(1024, tap.block());
    engine->start();
    EXPECT_TRUE(eventually(10, [&] { return tap.frames() >= 2048; }));
    sound.server().signal(SIGSTOP);

    EXPECT_LT(secondsOf([&] {
                  engine->drain();
                  engine->removeTap();
                  engine->stop();
                  engine.reset();
              }),
              5);
    sound.server().signal(SIGCONT);
}

TEST(PulseAudioEngine, DeliversTheCapturedAudioWhenTheServerEnds) {
    PrivateSound sound(PrivateSound::Microphone::absent);
    PipeMicrophone microphone(sound, "pipemic");
    PulseAudioEngines engines(sound.serverAddress());
    const auto engine = engines.makeEngine();
    TapRecord tap;
    engine->installTap(1024, tap.block());
    engine->start();
    microphone.speak(distinctSamples(1500));
    EXPECT_TRUE(eventually(10, [&] { return tap.frames() >= 1024; }));
    waitForTheRest();
    sound.server().signal(SIGKILL);

    EXPECT_TRUE(eventually(10, [&] { return !engine->isRunning(); }));
    EXPECT_TRUE(eventually(10, [&] { return tap.frames() == 1500; }));
    EXPECT_EQ(tap.samples(), distinctSamples(1500));
    engine->removeTap();
    engine->stop();
    EXPECT_THROW(engine->start(), platform::AudioEngineError);
}

} // namespace sonvale::tests
