#include "platform/linux/FfmpegAudioFiles.h"
#include "tests/contract/AudioFilesContract.h"
#include "tests/fakes/FakeAudioFiles.h"

namespace sonvale::tests {

using MakersOfAudioFiles = testing::Types<FakeAudioFiles, platform::linux::FfmpegAudioFiles>;
INSTANTIATE_TYPED_TEST_SUITE_P(Makers, AudioFilesContract, MakersOfAudioFiles);

} // namespace sonvale::tests
