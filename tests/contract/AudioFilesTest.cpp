#include "adapters/ffmpeg/FfmpegAudioFiles.h"

#include "tests/fakes/FakeAudioFiles.h"
#include "tests/support/FfmpegModule.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::tests {

template <class Files>
Files makeAudioFiles();

template <>
FakeAudioFiles makeAudioFiles() {
    return {};
}

template <>
adapters::ffmpeg::FfmpegAudioFiles makeAudioFiles() {
    return adapters::ffmpeg::FfmpegAudioFiles(ffmpegModule());
}

void refuseWrites(FakeAudioFiles& files, bool refuses) {
    files.control().failWriting(refuses ? std::optional<std::string>("The disk is full.") : std::nullopt);
}

bool isTaken(const FakeAudioFiles& /*files*/, const std::weak_ptr<platform::PcmBuffer>& /*buffer*/) {
    return true;
}

/// Uses a limit on the size of files, which refuses a write as a full disk does and needs no mount.
void refuseWrites(adapters::ffmpeg::FfmpegAudioFiles& /*files*/, bool refuses) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = refuses ? 1 : limit.rlim_max;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

bool isTaken(const adapters::ffmpeg::FfmpegAudioFiles& /*files*/,
             const std::weak_ptr<platform::PcmBuffer>& buffer) {
    return buffer.expired();
}

} // namespace sonvale::tests

// Uses the functions above.
#include "tests/contract/AudioFilesContract.h"

namespace sonvale::tests {

using MakersOfAudioFiles = testing::Types<FakeAudioFiles, adapters::ffmpeg::FfmpegAudioFiles>;
INSTANTIATE_TYPED_TEST_SUITE_P(Makers, AudioFilesContract, MakersOfAudioFiles);

} // namespace sonvale::tests
