#include "adapters/ffmpeg/FfmpegAudioFiles.h"

#include "adapters/ffmpeg/AacFileWriter.h"
#include "adapters/ffmpeg/LoadedFfmpeg.h"

#include <utility>

namespace sonvale::adapters::ffmpeg {

FfmpegAudioFiles::FfmpegAudioFiles(std::filesystem::path module)
    : ffmpeg_(std::make_shared<LoadedFfmpeg>(std::move(module))) {}

std::unique_ptr<platform::AudioFileWriter> FfmpegAudioFiles::create(const std::filesystem::path& path,
                                                                    const platform::AudioFormat& format) {
    return std::make_unique<AacFileWriter>(
        path, format, [ffmpeg = ffmpeg_]() -> const FfmpegModule& { return ffmpeg->get(); });
}

platform::PcmBufferPtr FfmpegAudioFiles::read(const std::filesystem::path& path,
                                              const platform::AudioFormat& format) {
    return ffmpeg_->get().read(path, format);
}

} // namespace sonvale::adapters::ffmpeg
