#include "adapters/ffmpeg/LoadedFfmpeg.h"

#include "adapters/ffmpeg/AacFileWriter.h"
#include "adapters/ffmpeg/FfmpegAudioFiles.h"

#include "tests/contract/AudioFilesContract.h"
#include "tests/support/FfmpegModule.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Voices.h"

#include <dlfcn.h>
#include <soxr.h>

#include <atomic>
#include <future>

namespace sonvale::tests {

namespace {

using adapters::ffmpeg::AacFileWriter;
using adapters::ffmpeg::FfmpegAudioFiles;
using adapters::ffmpeg::FfmpegModule;
using platform::AudioFileError;
using platform::AudioFormat;
using Loaded = adapters::ffmpeg::LoadedFfmpeg;

class LoadedFfmpeg : public testing::Test {
protected:
    std::filesystem::path path(const std::string& name = "a.m4a") const {
        return std::filesystem::path(directory_.path()) / name;
    }

private:
    TemporaryDirectory directory_;
};

/// Returns the error of closing the file, "none" if there is none.
std::string closeError(platform::AudioFileWriter& writer) {
    try {
        writer.close();
        return "none";
    } catch (const AudioFileError& error) {
        return error.what();
    }
}

} // namespace

TEST_F(LoadedFfmpeg, KeepsWhatIsWrittenBeforeTheModuleIsLoaded) {
    const AudioFormat format{48000, 1};
    Loaded loaded(ffmpegModule());
    std::promise<void> isWritten;
    AacFileWriter writer(path(), format,
                         [&, whenWritten = isWritten.get_future().share()]() -> const FfmpegModule& {
                             whenWritten.wait();
                             return loaded.get();
                         });
    EXPECT_EQ(modeOf(path()), 0600U);
    for (std::size_t start = 0; start < 480000; start += 48000)
        writer.write(tone(format, 48000, 440, start));
    isWritten.set_value();
    writer.close();

    const auto read = FfmpegAudioFiles(ffmpegModule()).read(path(), format);
    ASSERT_EQ(read->frameLength(), 480000U);
    EXPECT_GT(correlation(read->channel(0), tone(format, 480000)->channel(0)), 0.995);
}

TEST_F(LoadedFfmpeg, IsUsedAfterHalfASecondOfAudio) {
    Loaded loaded(ffmpegModule());
    std::atomic<std::size_t> framesWritten = 0;
    std::promise<std::size_t> framesAtUse;
    AacFileWriter writer(path(), {48000, 1}, [&]() -> const FfmpegModule& {
        framesAtUse.set_value(framesWritten);
        return loaded.get();
    });
    for (int i = 0; i < 10; ++i) {
        framesWritten += 4800;
        writer.write(tone({48000, 1}, 4800));
        pauseMilliseconds(10);
    }
    EXPECT_GE(framesAtUse.get_future().get(), 24000U);
    writer.close();
}

TEST_F(LoadedFfmpeg, ReportsAMissingModuleAtTheEnd) {
    const LogCapture log;
    FfmpegAudioFiles files(path("missing.so"));
    for (const auto* const name : {"a.m4a", "b.m4a"}) {
        const auto writer = files.create(path(name), {48000, 1});
        writer->write(tone({48000, 1}, 48000));
        EXPECT_EQ(closeError(*writer), Loaded::unavailable);
        EXPECT_EQ(closeError(*writer), "none");
        EXPECT_EQ(std::filesystem::file_size(path(name)), 0U);
    }
    try {
        files.read(voiceFile(voices().front().name), speech);
        ADD_FAILURE() << "read without a module";
    } catch (const AudioFileError& error) {
        EXPECT_STREQ(error.what(), Loaded::unavailable);
    }
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines.front().level, base::LogLevel::error);
    EXPECT_NE(lines.front().text.find("missing.so"), std::string::npos) << lines.front().text;
}

TEST_F(LoadedFfmpeg, UsesAModuleThatWasMissing) {
    FfmpegAudioFiles files(path("module.so"));
    EXPECT_EQ(closeError(*files.create(path("a.m4a"), {48000, 1})), Loaded::unavailable);
    std::filesystem::create_symlink(ffmpegModule(), path("module.so"));
    EXPECT_EQ(closeError(*files.create(path("b.m4a"), {48000, 1})), "none");
}

TEST_F(LoadedFfmpeg, RefusesALibraryThatIsNotTheModule) {
    writeFile(path(), "no library");
    const auto recording = voiceFile(voices().front().name);
    Dl_info soxr{};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&soxr_version), &soxr), 0);
    for (const std::string& file : {path().string(), std::string(soxr.dli_fname)}) {
        EXPECT_THROW(Loaded(file).get(), AudioFileError) << file;
        EXPECT_THROW(FfmpegAudioFiles(file).read(recording, speech), AudioFileError) << file;
    }
}

TEST_F(LoadedFfmpeg, ReportsAnEncoderThatCannotBeMade) {
    class Module final : public FfmpegModule {
    public:
        std::unique_ptr<adapters::ffmpeg::RecordingEncoder>
        makeEncoder(adapters::ffmpeg::FileDescriptor /*file*/, const AudioFormat& /*format*/) const override {
            throw AudioFileError("no encoder");
        }
        platform::PcmBufferPtr read(const std::filesystem::path& /*path*/,
                                    const AudioFormat& /*format*/) const override {
            throw AudioFileError("no decoder");
        }
    };
    const Module module;
    AacFileWriter writer(path(), {48000, 1}, [&]() -> const FfmpegModule& { return module; });
    writer.write(tone({48000, 1}, 48000));
    EXPECT_EQ(closeError(writer), "no encoder");
}

} // namespace sonvale::tests
