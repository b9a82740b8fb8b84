#pragma once

#include "platform/AudioFile.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <vector>

namespace sonvale::tests {

/// Returns a tone in every channel, each channel twice as loud as the next.
inline platform::PcmBufferPtr tone(const platform::AudioFormat& format, std::size_t frames,
                                   double frequency = 440, std::size_t firstFrame = 0,
                                   float loudness = 0.5F) {
    auto buffer = std::make_shared<platform::PcmBuffer>(format, frames);
    for (std::size_t channel = 0; channel < format.channelCount; ++channel) {
        for (std::size_t i = 0; i < frames; ++i) {
            const double turns = frequency * static_cast<double>(firstFrame + i) / format.sampleRate;
            buffer->channel(channel)[i] = std::ldexp(loudness, -static_cast<int>(channel)) *
                                          static_cast<float>(std::sin(2 * std::numbers::pi * turns));
        }
    }
    return buffer;
}

/// Returns the similarity of two signals of any loudness: 1 if they are the same.
inline double correlation(std::span<const float> a, std::span<const float> b) {
    double ab = 0;
    double aa = 0;
    double bb = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        ab += static_cast<double>(a[i]) * b[i];
        aa += static_cast<double>(a[i]) * a[i];
        bb += static_cast<double>(b[i]) * b[i];
    }
    return ab / std::sqrt(aa * bb);
}

inline double loudest(std::span<const float> samples) {
    double result = 0;
    for (const float sample : samples)
        result = std::max(result, std::abs(static_cast<double>(sample)));
    return result;
}

inline constexpr platform::AudioFormat speech{16000, 1};

using WeakBuffer = std::weak_ptr<platform::PcmBuffer>;

/// The rules of `platform::AudioFiles`. Each implementation has the functions
///
///     template <> Files makeAudioFiles<Files>();
///     void refuseWrites(Files& files, bool refuses);            // of the disk, to all files of this process
///     bool isTaken(const Files& files, const WeakBuffer& buffer); // by the thread that writes
template <class Files>
class AudioFilesContract : public testing::Test {
protected:
    std::filesystem::path path(const std::string& name = "a.m4a") const {
        return std::filesystem::path(directory_.path()) / name;
    }

    TemporaryDirectory directory_;
    Files files_ = makeAudioFiles<Files>();
};

TYPED_TEST_SUITE_P(AudioFilesContract);

TYPED_TEST_P(AudioFilesContract, CreatesAFileThatOnlyItsOwnerCanRead) {
    using std::filesystem::perms;
    const auto writer = this->files_.create(this->path(), {48000, 1});
    EXPECT_EQ(std::filesystem::status(this->path()).permissions(), perms::owner_read | perms::owner_write);
    writer->close();
    EXPECT_EQ(std::filesystem::status(this->path()).permissions(), perms::owner_read | perms::owner_write);
}

TYPED_TEST_P(AudioFilesContract, ReadsEveryFrameInOrder) {
    const platform::AudioFormat format{48000, 1};
    auto writer = this->files_.create(this->path(), format);
    std::size_t written = 0;
    for (const std::size_t frames : {1024U, 1024U, 1U, 0U, 511U, 4096U, 40000U, 1344U}) {
        writer->write(tone(format, frames, 440, written));
        written += frames;
    }
    writer->close();

    const auto read = this->files_.read(this->path(), speech);
    EXPECT_EQ(read->format(), speech);
    ASSERT_EQ(read->frameLength(), written / 3);
    EXPECT_GT(correlation(read->channel(0), tone(speech, written / 3)->channel(0)), 0.99);
    EXPECT_NEAR(loudest(read->channel(0)), 0.5, 0.02);
}

TYPED_TEST_P(AudioFilesContract, AveragesTheChannelsIntoOne) {
    const platform::AudioFormat format{48000, 2};
    auto writer = this->files_.create(this->path(), format);
    writer->write(tone(format, 48000));
    writer->close();
    const auto read = this->files_.read(this->path(), speech);
    ASSERT_EQ(read->frameLength(), 16000U);
    EXPECT_GT(correlation(read->channel(0), tone(speech, 16000)->channel(0)), 0.99);
    EXPECT_NEAR(loudest(read->channel(0)), (0.5 + 0.25) / 2, 0.02);
}

TYPED_TEST_P(AudioFilesContract, ReadsAFileWithoutAFrameAsAnEmptyBuffer) {
    this->files_.create(this->path(), {48000, 2})->close();
    EXPECT_EQ(this->files_.read(this->path(), speech)->frameLength(), 0U);
}

TYPED_TEST_P(AudioFilesContract, ClosesOnce) {
    auto writer = this->files_.create(this->path(), {48000, 1});
    writer->write(tone({48000, 1}, 4800));
    writer->close();
    writer->close();
    writer.reset();
    EXPECT_EQ(this->files_.read(this->path(), speech)->frameLength(), 1600U);
}

TYPED_TEST_P(AudioFilesContract, ClosesADestroyedWriter) {
    this->files_.create(this->path(), {48000, 1})->write(tone({48000, 1}, 4800));
    EXPECT_EQ(this->files_.read(this->path(), speech)->frameLength(), 1600U);
}

TYPED_TEST_P(AudioFilesContract, RefusesAnUnwritablePlaceAndLeavesNoFile) {
    const auto noFolder = this->path("missing") / "a.m4a";
    EXPECT_THROW(this->files_.create(noFolder, {48000, 1}), platform::AudioFileError);
    EXPECT_FALSE(std::filesystem::exists(noFolder));
    // Not even the superuser can create a file here.
    EXPECT_THROW(this->files_.create("/proc/a.m4a", {48000, 1}), platform::AudioFileError);
}

TYPED_TEST_P(AudioFilesContract, ReportsAMissingFile) {
    EXPECT_THROW(this->files_.read(this->path(), speech), platform::AudioFileError);
}

TYPED_TEST_P(AudioFilesContract, ContinuesAfterFailedWrites) {
    const platform::AudioFormat format{48000, 1};
    auto writer = this->files_.create(this->path(), format);
    // Returns when the writer, which may have a thread of its own, has handled it.
    const auto write = [&](double frequency) {
        auto second = tone(format, 48000, frequency);
        const WeakBuffer watched = second;
        writer->write(std::move(second));
        return eventually(20, [&] { return isTaken(this->files_, watched); });
    };
    for (int second = 0; second < 8; ++second)
        ASSERT_TRUE(write(440));
    refuseWrites(this->files_, true);
    bool hasTaken = true;
    for (int second = 0; second < 8; ++second)
        hasTaken = write(600) && hasTaken;
    refuseWrites(this->files_, false);
    ASSERT_TRUE(hasTaken);
    for (int second = 0; second < 8; ++second)
        ASSERT_TRUE(write(880));
    try {
        writer->close();
    } catch (const platform::AudioFileError&) {
        // It may report its loss.
    }

    const auto read = this->files_.read(this->path(), speech);
    ASSERT_GE(read->frameLength(), 16U * 16000);
    const auto before = read->channel(0).first(std::size_t{8} * 16000);
    const auto after = read->channel(0).last(std::size_t{8} * 16000);
    EXPECT_GT(correlation(before, tone(speech, before.size())->channel(0)), 0.99);
    EXPECT_GT(correlation(after, tone(speech, after.size(), 880)->channel(0)), 0.99);
}

TYPED_TEST_P(AudioFilesContract, KeepsSeveralFilesSeparate) {
    auto first = this->files_.create(this->path("1.m4a"), {48000, 1});
    auto second = this->files_.create(this->path("2.m4a"), {48000, 1});
    first->write(tone({48000, 1}, 4800, 440));
    second->write(tone({48000, 1}, 9600, 880));
    first->close();
    second->close();
    EXPECT_EQ(this->files_.read(this->path("1.m4a"), speech)->frameLength(), 1600U);
    const auto read = this->files_.read(this->path("2.m4a"), speech);
    ASSERT_EQ(read->frameLength(), 3200U);
    EXPECT_GT(correlation(read->channel(0), tone(speech, 3200, 880)->channel(0)), 0.95);
}

REGISTER_TYPED_TEST_SUITE_P(AudioFilesContract, CreatesAFileThatOnlyItsOwnerCanRead, ReadsEveryFrameInOrder,
                            AveragesTheChannelsIntoOne, ReadsAFileWithoutAFrameAsAnEmptyBuffer, ClosesOnce,
                            ClosesADestroyedWriter, RefusesAnUnwritablePlaceAndLeavesNoFile,
                            ReportsAMissingFile, ContinuesAfterFailedWrites, KeepsSeveralFilesSeparate);

} // namespace sonvale::tests
