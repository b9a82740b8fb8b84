#pragma once

#include "adapters/ffmpeg/FfmpegModule.h"

#include "base/Log.h"

#include <filesystem>
#include <mutex>

namespace sonvale::adapters::ffmpeg {

/// The module of FFmpeg, loaded at the first use, so that the program needs no memory for FFmpeg before the
/// first recording. It stays loaded until the process ends. Any thread.
class LoadedFfmpeg {
public:
    /// The text of the error if the module cannot be loaded.
    static constexpr const char* unavailable =
        "Son Vale cannot write or read recordings. Try installing it again.";

    /// `file` is the path of the module.
    explicit LoadedFfmpeg(std::filesystem::path file);

    /// Returns the module. Loads it first if it is not loaded, which blocks for about a tenth of a
    /// second and blocks every other thread that creates a thread meanwhile. Throws `AudioFileError` if it
    /// cannot be loaded; the next call tries again. Logs the reason of the first failure.
    const FfmpegModule& get();

private:
    const std::filesystem::path file_;
    const base::Logger logger_{"LoadedFfmpeg"};
    std::mutex mutex_;
    const FfmpegModule* module_ = nullptr; ///< guarded by `mutex_`, like the field below
    bool hasLogged_ = false;
};

} // namespace sonvale::adapters::ffmpeg
