#include "adapters/ffmpeg/module/FfmpegPointers.h"

#include <array>

namespace sonvale::adapters::ffmpeg {

std::string ffmpegErrorText(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return text.data();
}

int checkFfmpeg(int result, const std::string& what) {
    if (result < 0)
        throw platform::AudioFileError(what + ": " + ffmpegErrorText(result));
    return result;
}

void silenceFfmpeg() {
    av_log_set_level(AV_LOG_QUIET);
}

} // namespace sonvale::adapters::ffmpeg
