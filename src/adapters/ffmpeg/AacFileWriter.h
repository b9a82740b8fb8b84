#pragma once

#include "platform/AudioFile.h"

#include <filesystem>
#include <memory>
#include <thread>

namespace sonvale::adapters::ffmpeg {

/// Records into an .m4a file on a thread of its own: encoding sometimes needs many milliseconds, which the
/// capture thread does not have.
class AacFileWriter final : public platform::AudioFileWriter {
public:
    /// Creates the file. Throws `AudioFileError`.
    AacFileWriter(const std::filesystem::path& path, const platform::AudioFormat& format);
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
