#pragma once

#include "platform/AudioFile.h"

#include <filesystem>
#include <memory>

namespace sonvale::adapters::ffmpeg {

class LoadedFfmpeg;

/// Audio files through the FFmpeg libraries: writes AAC in .m4a, reads that and WAV. Any thread.
///
/// The libraries are loaded half a second into the first recording, on the thread of its file, so that its
/// start does not wait for them; or by the first `read`, on its caller's thread. If they cannot be loaded,
/// `create` works, and `close` of the file and `read` throw `LoadedFfmpeg::unavailable`.
///
/// A file that is read may come from anywhere: other files that it names are not opened.
class FfmpegAudioFiles final : public platform::AudioFiles {
public:
    /// `module` is the path of the module that contains all use of the libraries.
    explicit FfmpegAudioFiles(std::filesystem::path module);

    std::unique_ptr<platform::AudioFileWriter> create(const std::filesystem::path& path,
                                                      const platform::AudioFormat& format) override;
    platform::PcmBufferPtr read(const std::filesystem::path& path,
                                const platform::AudioFormat& format) override;

private:
    std::shared_ptr<LoadedFfmpeg> ffmpeg_; ///< shared with the threads of the files
};

} // namespace sonvale::adapters::ffmpeg
