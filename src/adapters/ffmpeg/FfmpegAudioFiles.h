#pragma once

#include "platform/AudioFile.h"

namespace sonvale::adapters::ffmpeg {

/// Audio files through the FFmpeg libraries: writes AAC in .m4a, reads that and WAV. Any thread.
///
/// A file that is read may come from anywhere: other files that it names are not opened.
class FfmpegAudioFiles final : public platform::AudioFiles {
public:
    FfmpegAudioFiles();

    std::unique_ptr<platform::AudioFileWriter> create(const std::filesystem::path& path,
                                                      const platform::AudioFormat& format) override;
    platform::PcmBufferPtr read(const std::filesystem::path& path,
                                const platform::AudioFormat& format) override;
};

} // namespace sonvale::adapters::ffmpeg
