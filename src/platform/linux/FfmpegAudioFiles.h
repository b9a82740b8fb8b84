#pragma once

#include "platform/AudioFile.h"

namespace sonvale::platform::linux {

/// Audio files by the FFmpeg libraries: AAC in .m4a out, the same and WAV in. Any thread.
///
/// Files that are read may come from anywhere: nothing that they name is opened.
class FfmpegAudioFiles final : public AudioFiles {
public:
    FfmpegAudioFiles();

    std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& path,
                                            const AudioFormat& format) override;
    PcmBufferPtr read(const std::filesystem::path& path, const AudioFormat& format) override;
};

} // namespace sonvale::platform::linux
