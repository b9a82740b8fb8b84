#pragma once

#include "adapters/ffmpeg/FfmpegModule.h"

#include "platform/AudioFile.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

namespace sonvale::adapters::ffmpeg {

/// Records into an .m4a file on a thread of its own: encoding sometimes needs many milliseconds, which the
/// capture thread does not have. After half a second of audio, or at the end of a shorter recording, the
/// thread gets the module of FFmpeg, while the buffers queue.
class AacFileWriter final : public platform::AudioFileWriter {
public:
    /// Returns the module. Called once, on the writer's thread; may block and throw `AudioFileError`, which
    /// `close` then throws.
    using ModuleSource = std::function<const FfmpegModule&()>;

    /// Creates the file, mode 0600; it must not exist. Does not wait for `module`. Throws `AudioFileError`
    /// and then leaves no file.
    AacFileWriter(const std::filesystem::path& path, const platform::AudioFormat& format,
                  ModuleSource module);
    ~AacFileWriter() override;

    void write(platform::PcmBufferPtr buffer) override;
    void close() override;

private:
    struct Work;
    static void run(const std::shared_ptr<Work>& work);

    std::shared_ptr<Work> work_;
    std::thread thread_;
};

} // namespace sonvale::adapters::ffmpeg
