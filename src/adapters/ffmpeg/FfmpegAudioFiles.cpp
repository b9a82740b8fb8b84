#include "adapters/ffmpeg/FfmpegAudioFiles.h"

#include "adapters/ffmpeg/AacFileWriter.h"
#include "adapters/ffmpeg/module/AudioFileDecoder.h"
#include "adapters/ffmpeg/module/FfmpegPointers.h"

namespace sonvale::adapters::ffmpeg {

FfmpegAudioFiles::FfmpegAudioFiles() {
    silenceFfmpeg();
}

std::unique_ptr<platform::AudioFileWriter> FfmpegAudioFiles::create(const std::filesystem::path& path,
                                                                    const platform::AudioFormat& format) {
    return std::make_unique<AacFileWriter>(path, format);
}

platform::PcmBufferPtr FfmpegAudioFiles::read(const std::filesystem::path& path,
                                              const platform::AudioFormat& format) {
    return AudioFileDecoder(path).decode(format);
}

} // namespace sonvale::adapters::ffmpeg
