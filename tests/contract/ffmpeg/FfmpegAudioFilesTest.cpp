#include "adapters/ffmpeg/FfmpegAudioFiles.h"

#include "adapters/ffmpeg/module/AacEncoder.h"

#include "tests/contract/AudioFilesContract.h"
#include "tests/support/FfmpegModule.h"
#include "tests/support/Voices.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <limits>
#include <thread>

namespace sonvale::tests {

namespace {

using platform::AudioFileError;
using platform::AudioFormat;

class FfmpegAudioFiles : public testing::Test {
protected:
    std::filesystem::path path(const std::string& name = "a.m4a") const {
        return std::filesystem::path(directory_.path()) / name;
    }

    void record(const AudioFormat& format, std::size_t frames, double frequency = 440) {
        auto writer = files_.create(path(), format);
        const auto whole = tone(format, frames, frequency);
        for (std::size_t start = 0; start < frames; start += 1024) {
            const auto count = std::min<std::size_t>(1024, frames - start);
            auto buffer = std::make_shared<platform::PcmBuffer>(format, count);
            for (std::size_t channel = 0; channel < format.channelCount; ++channel)
                std::ranges::copy(whole->channel(channel).subspan(start, count),
                                  buffer->channel(channel).begin());
            writer->write(std::move(buffer));
        }
        writer->close();
    }

    void put(const std::string& bytes) const { std::ofstream(path(), std::ios::binary) << bytes; }
    std::string bytes() const {
        std::ifstream file(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string readError() {
        try {
            files_.read(path(), speech);
            return "none";
        } catch (const AudioFileError& error) {
            return error.what();
        }
    }

    TemporaryDirectory directory_;
    adapters::ffmpeg::FfmpegAudioFiles files_{ffmpegModule()};
};

double threadCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

} // namespace

TEST_F(FfmpegAudioFiles, KeepTheFramesOfEveryRate) {
    for (const double rate :
         {8000.0, 11025.0, 16000.0, 22050.0, 32000.0, 44100.0, 48000.0, 88200.0, 96000.0}) {
        const AudioFormat format{rate, 1};
        const auto frames = static_cast<std::size_t>(rate * 1.37);
        record(format, frames);
        const auto read = files_.read(path(), format);
        EXPECT_EQ(read->frameLength(), frames) << rate;
        EXPECT_GT(correlation(read->channel(0), tone(format, frames)->channel(0)), 0.995) << rate;
        EXPECT_NEAR(loudest(read->channel(0)), 0.5, 0.05) << rate;
        std::filesystem::remove(path());
    }
}

TEST_F(FfmpegAudioFiles, KeepSpeechThirtyDecibelsAboveTheNoise) {
    const AudioFormat format{48000, 1};
    for (const auto& original :
         {files_.read(voiceFile(voices().front().name), format), tone(format, 96000)}) {
        auto writer = files_.create(path(), format);
        writer->write(original);
        writer->close();
        const auto read = files_.read(path(), format);
        ASSERT_EQ(read->frameLength(), original->frameLength());
        double signal = 0;
        double noise = 0;
        for (std::size_t i = 0; i < read->frameLength(); ++i) {
            const double sample = original->channel(0)[i];
            signal += sample * sample;
            noise += std::pow(read->channel(0)[i] - sample, 2);
        }
        EXPECT_GT(10 * std::log10(signal / noise), 30);
        std::filesystem::remove(path());
    }
}

TEST_F(FfmpegAudioFiles, RecordRatesThatAacDoesNotSupport) {
    for (const double rate : {192000.0, 176400.0, 37800.0, 50000.0, 5512.0}) {
        const AudioFormat format{rate, 2};
        const auto frames = static_cast<std::size_t>(rate * 1.5);
        record(format, frames);
        const auto read = files_.read(path(), speech);
        EXPECT_NEAR(static_cast<double>(read->frameLength()), 24000, 1) << rate;
        EXPECT_GT(correlation(read->channel(0), tone(speech, read->frameLength())->channel(0)), 0.99) << rate;
        std::filesystem::remove(path());
    }
}

TEST_F(FfmpegAudioFiles, RecordAnyNumberOfChannels) {
    for (std::uint32_t channels = 1; channels <= 10; ++channels) {
        const AudioFormat format{48000, channels};
        record(format, 48000);
        const auto read = files_.read(path(), speech);
        ASSERT_EQ(read->frameLength(), 16000U) << channels;
        EXPECT_GT(correlation(read->channel(0), tone(speech, 16000)->channel(0)), 0.99) << channels;
        const double sum = 1 - std::ldexp(1.0, -static_cast<int>(channels));
        EXPECT_NEAR(loudest(read->channel(0)), sum / channels, 0.05) << channels;
        std::filesystem::remove(path());
    }
}

TEST_F(FfmpegAudioFiles, KeepTwoChannelsSeparate) {
    const AudioFormat format{44100, 2};
    auto buffer = std::make_shared<platform::PcmBuffer>(format, 44100);
    std::ranges::copy(tone({44100, 1}, 44100, 440)->channel(0), buffer->channel(0).begin());
    std::ranges::copy(tone({44100, 1}, 44100, 1000)->channel(0), buffer->channel(1).begin());
    auto writer = files_.create(path(), format);
    writer->write(buffer);
    writer->close();
    const auto read = files_.read(path(), format);
    for (const std::size_t channel : {0U, 1U})
        EXPECT_GT(correlation(read->channel(channel), buffer->channel(channel)), 0.99);
    EXPECT_LT(std::abs(correlation(read->channel(0), buffer->channel(1))), 0.1);
}

TEST_F(FfmpegAudioFiles, StartWithTheFirstSample) {
    // A click at the beginning and one at the end: the encoder's padding before and after them must be
    // removed.
    const AudioFormat format{48000, 1};
    auto buffer = std::make_shared<platform::PcmBuffer>(format, 30000);
    for (std::size_t i = 0; i < 40; ++i) {
        buffer->channel(0)[i] = 0.8F;
        buffer->channel(0)[29999 - i] = -0.8F;
    }
    auto writer = files_.create(path(), format);
    writer->write(buffer);
    writer->close();
    const auto read = files_.read(path(), format);
    ASSERT_EQ(read->frameLength(), 30000U);
    EXPECT_GT(read->channel(0)[10], 0.3F);
    EXPECT_LT(read->channel(0)[29989], -0.3F);
    EXPECT_NEAR(read->channel(0)[15000], 0, 0.01);
}

TEST_F(FfmpegAudioFiles, KeepTheLastSamples) {
    for (const std::size_t frames : {1U, 2U, 100U, 1023U, 1024U, 1025U, 2048U, 4801U}) {
        record({48000, 1}, frames);
        EXPECT_EQ(files_.read(path(), {48000, 1})->frameLength(), frames);
        std::filesystem::remove(path());
    }
}

TEST_F(FfmpegAudioFiles, SurviveSamplesThatAreNanOrTooLoud) {
    const AudioFormat format{48000, 1};
    auto buffer = tone(format, 48000);
    buffer->channel(0)[100] = std::numeric_limits<float>::quiet_NaN();
    buffer->channel(0)[5000] = std::numeric_limits<float>::infinity();
    buffer->channel(0)[9000] = -40;
    auto writer = files_.create(path(), format);
    writer->write(buffer);
    writer->close();
    const auto read = files_.read(path(), format);
    EXPECT_EQ(read->frameLength(), 48000U);
    for (const float sample : read->channel(0))
        ASSERT_TRUE(sample >= -1 && sample <= 1);
    EXPECT_GT(correlation(read->channel(0).last(24000), tone(format, 48000)->channel(0).last(24000)), 0.99);
}

TEST_F(FfmpegAudioFiles, ReportAChangedFormatAtTheEnd) {
    auto writer = files_.create(path(), {48000, 1});
    writer->write(tone({48000, 1}, 4800));
    writer->write(tone({44100, 1}, 4410));
    writer->write(tone({48000, 1}, 4800));
    EXPECT_THROW(writer->close(), AudioFileError);
    EXPECT_NO_THROW(writer->close());
}

TEST_F(FfmpegAudioFiles, RefuseAFormatWithoutAudioAndLeaveNoFile) {
    for (const AudioFormat format : {AudioFormat{0, 1}, AudioFormat{48000, 0}, AudioFormat{-1, 2},
                                     AudioFormat{std::numeric_limits<double>::quiet_NaN(), 1},
                                     AudioFormat{std::numeric_limits<double>::infinity(), 1}}) {
        EXPECT_THROW(files_.create(path(), format), AudioFileError);
        EXPECT_FALSE(std::filesystem::exists(path()));
    }
}

TEST_F(FfmpegAudioFiles, DoNotOverwriteAFileOrFollowALink) {
    put("precious");
    EXPECT_THROW(files_.create(path(), {48000, 1}), AudioFileError);
    EXPECT_EQ(bytes(), "precious");
    std::filesystem::create_symlink(path(), path("link.m4a"));
    EXPECT_THROW(files_.create(path("link.m4a"), {48000, 1}), AudioFileError);
    EXPECT_EQ(bytes(), "precious");
}

TEST_F(FfmpegAudioFiles, CreateAPrivateFileWithAnyUmask) {
    const auto before = umask(0);
    const auto writer = files_.create(path(), {48000, 1});
    umask(before);
    struct stat status{};
    ASSERT_EQ(stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(FfmpegAudioFiles, ReportUnreadableFiles) {
    put("");
    EXPECT_NE(readError(), "none") << "an empty file";

    std::string noise(100000, '\0');
    unsigned state = 1;
    for (char& byte : noise)
        byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    put(noise);
    EXPECT_NE(readError(), "none") << "noise";

    put("#EXTM3U\n#EXTINF:1,\nfile:///etc/passwd\n");
    EXPECT_NE(readError(), "none") << "a play list";

    std::filesystem::remove(path());
    std::filesystem::create_directory(path());
    EXPECT_NE(readError(), "none") << "a folder";
    std::filesystem::remove(path());
    ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
    EXPECT_NE(readError(), "none") << "a pipe without a writer";
    EXPECT_THROW(files_.read("/dev/zero", speech), AudioFileError);
}

TEST_F(FfmpegAudioFiles, ReportATruncatedRecording) {
    record({48000, 1}, 96000);
    const auto whole = bytes();
    for (const std::size_t length :
         {whole.size() - 1, whole.size() / 2, std::size_t{1000}, std::size_t{40}, std::size_t{1}}) {
        put(whole.substr(0, length));
        const auto error = readError();
        // The audio does not need the last bytes of the container.
        if (length < whole.size() - 1)
            EXPECT_NE(error, "none") << length;
    }
}

TEST_F(FfmpegAudioFiles, ReadTheRestOfADamagedRecording) {
    record({48000, 1}, 480000);
    auto damaged = bytes();
    for (std::size_t i = damaged.size() / 3; i < damaged.size() / 3 + 400; ++i)
        damaged[i] = static_cast<char>(~damaged[i]);
    put(damaged);
    const auto read = files_.read(path(), speech);
    EXPECT_GT(read->frameLength(), 150000U);
    EXPECT_GT(correlation(read->channel(0).first(40000), tone(speech, 40000)->channel(0)), 0.99);
}

TEST_F(FfmpegAudioFiles, SurviveEveryFlippedByteOfTheContainer) {
    record({48000, 1}, 1500);
    const auto whole = bytes();
    for (std::size_t i = 0; i < whole.size(); ++i) {
        auto damaged = whole;
        damaged[i] = static_cast<char>(damaged[i] ^ 0xFF);
        put(damaged);
        try {
            EXPECT_LT(files_.read(path(), speech)->frameLength(), 16000U * 60);
        } catch (const AudioFileError&) {
            // Either outcome is right; the call must return.
        }
    }
}

TEST_F(FfmpegAudioFiles, ReadAWaveFile) {
    const auto read = files_.read(voiceFile(voices().front().name), speech);
    EXPECT_GT(read->frameLength(), 16000U);
    EXPECT_GT(loudest(read->channel(0)), 0.2);
}

TEST_F(FfmpegAudioFiles, ReadTenMinutesInAFewSeconds) {
    {
        // Without the writer's thread, which has 10 s to finish after a caller that writes faster than
        // speech.
        adapters::ffmpeg::AacEncoder encoder(adapters::ffmpeg::FileDescriptor::create(path()), {48000, 1});
        const auto second = tone({48000, 1}, 48000);
        for (int i = 0; i < 600; ++i)
            encoder.encode(*second);
        encoder.finish();
    }
    const double before = threadCpuSeconds();
    const auto read = files_.read(path(), speech);
    const double spent = threadCpuSeconds() - before;
    RecordProperty("readMilliseconds", static_cast<int>(spent * 1000));
    EXPECT_EQ(read->frameLength(), 600U * 16000);
    EXPECT_LT(spent, 10);
}

TEST_F(FfmpegAudioFiles, DoNotBlockTheWritingThread) {
    const AudioFormat format{48000, 2};
    const auto buffer = tone(format, 1024);
    auto writer = files_.create(path(), format);
    const double before = threadCpuSeconds();
    for (int i = 0; i < 150; ++i)
        writer->write(buffer);
    const double spent = threadCpuSeconds() - before;
    writer->close();
    // The encoding of the 3 s alone takes longer than this.
    EXPECT_LT(spent, 0.02);
    EXPECT_EQ(files_.read(path(), format)->frameLength(), 150U * 1024);
}

TEST_F(FfmpegAudioFiles, RecordAndReadOnSeveralThreads) {
    std::vector<std::size_t> lengths(4);
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < lengths.size(); ++i) {
            threads.emplace_back([&, i] {
                const auto file = path(std::to_string(i) + ".m4a");
                auto writer = files_.create(file, {48000, 1});
                for (std::size_t second = 0; second <= i; ++second)
                    writer->write(tone({48000, 1}, 48000));
                writer->close();
                lengths[i] = files_.read(file, speech)->frameLength();
            });
        }
    }
    EXPECT_EQ(lengths, (std::vector<std::size_t>{16000, 32000, 48000, 64000}));
}

namespace {

// Limits the size of files, which refuses a write as a full disk does and needs no mount.
void fillTheDisk(std::size_t bytesLeft) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytesLeft, bytesLeft};
    setrlimit(RLIMIT_FSIZE, &limit);
}

[[noreturn]] void recordUntilTheDiskIsFull(platform::AudioFiles& files, const std::filesystem::path& path) {
    auto writer = files.create(path, {48000, 1});
    fillTheDisk(20000);
    for (int second = 0; second < 20; ++second)
        writer->write(tone({48000, 1}, 48000));
    try {
        writer->close();
    } catch (const AudioFileError& error) {
        std::fprintf(stderr, "%s\n", error.what());
        std::exit(3);
    }
    std::exit(0);
}

[[noreturn]] void recordOnAFullDisk(platform::AudioFiles& files, const std::filesystem::path& path) {
    fillTheDisk(0);
    try {
        files.create(path, {48000, 1});
    } catch (const AudioFileError&) {
        std::exit(std::filesystem::exists(path) ? 4 : 3);
    }
    std::exit(0);
}

} // namespace

TEST_F(FfmpegAudioFiles, KeepTheAudioThatADiskStoredBeforeItWasFull) {
    // A private disk that is too small for a minute of audio.
    const std::string disk = directory_.path() + "/disk";
    std::filesystem::create_directory(disk);
    ChildProcess::Options options;
    options.arguments = {"unshare",     "--map-root-user",
                         "--mount",     "sh",
                         "-c",          R"(mount -t tmpfs -o size=200k none "$0" && exec "$1" "$0" "$2")",
                         disk,          SONVALE_RECORDER_PROGRAM,
                         ffmpegModule()};
    options.outputFile = directory_.path() + "/output";
    ChildProcess program(options);
    const auto status = program.wait(60);
    std::ifstream output(options.outputFile);
    std::string closing;
    std::getline(output, closing);
    ASSERT_EQ(status, 0) << closing;
    EXPECT_EQ(closing, "The recording cannot be written: No space left on device");
    int seconds = 0;
    int good = 0;
    output >> seconds >> good;
    // 8 kB per second.
    EXPECT_GE(good, 15) << "of " << seconds;
}

using FfmpegAudioFilesDeathTest = FfmpegAudioFiles;

TEST_F(FfmpegAudioFilesDeathTest, ReportAFullDisk) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(recordUntilTheDiskIsFull(files_, path()), testing::ExitedWithCode(3),
                "The recording cannot be written: File too large");
}

TEST_F(FfmpegAudioFilesDeathTest, LeaveNoFileOnAFullDisk) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(recordOnAFullDisk(files_, path()), testing::ExitedWithCode(3), "");
}

} // namespace sonvale::tests
