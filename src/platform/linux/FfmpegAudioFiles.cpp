#include "platform/linux/FfmpegAudioFiles.h"

#include "platform/linux/AacFileWriter.h"
#include "platform/linux/AudioFileDecoder.h"
#include "platform/linux/FfmpegPointers.h"

namespace sonvale::platform::linux {

FfmpegAudioFiles::FfmpegAudioFiles() {
    silenceFfmpeg();
}

std::unique_ptr<AudioFileWriter> FfmpegAudioFiles::create(const std::filesystem::path& path,
                                                          const AudioFormat& format) {
    return std::make_unique<AacFileWriter>(path, format);
}

PcmBufferPtr FfmpegAudioFiles::read(const std::filesystem::path& path, const AudioFormat& format) {
    return AudioFileDecoder(path).decode(format);
}

} // namespace sonvale::platform::linux
