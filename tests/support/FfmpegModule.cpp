#include "tests/support/FfmpegModule.h"

namespace sonvale::tests {

std::filesystem::path ffmpegModule() {
    return SONVALE_FFMPEG;
}

} // namespace sonvale::tests
