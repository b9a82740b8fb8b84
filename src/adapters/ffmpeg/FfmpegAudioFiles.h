#pragma once

#include "platform/AudioFile.h"

namespace sonvale::adapters::ffmpeg {

/// Audio files by the FFmpeg libraries: AAC in .m4a out, the same and WAV in. Any thread.
///
/// Files that are read may come from anywhere: nothing that they name is opened.
class FfmpegAudioFiles final : public platform::AudioFiles {
public:
    FfmpegAudioFiles();

    std::unique_ptr<platform::AudioFileWriter> create(const std::filesystem::path& path,
                                                      const platform::AudioFormat& format) override;
    platform::PcmBufferPtr read(const std::filesystem::path& path,
                                const platform::AudioFormat& format) override;
};

} // namespace sonvale::adapters::ffmpeg
