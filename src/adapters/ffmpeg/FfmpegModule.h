#pragma once

#include "adapters/ffmpeg/FileDescriptor.h"

#include "platform/AudioFile.h"

#include <filesystem>
#include <memory>

namespace sonvale::adapters::ffmpeg {

/// Encodes audio into an .m4a file, on the caller's thread. One thread at a time.
class RecordingEncoder {
public:
    RecordingEncoder() = default;
    RecordingEncoder(const RecordingEncoder&) = delete;
    RecordingEncoder& operator=(const RecordingEncoder&) = delete;
    virtual ~RecordingEncoder() = default;

    /// Encodes one buffer. Throws `AudioFileError` if the buffer has another format. Data that the disk
    /// refuses is kept for a later attempt.
    virtual void encode(const platform::PcmBuffer& buffer) = 0;

    /// Encodes the rest and completes the container. Must be the last call. Throws `AudioFileError` if the
    /// disk has not stored everything. The stored part can still be read, except for the end of it that is
    /// removed to make room for the container's own data if the disk stays full.
    virtual void finish() = 0;
};

/// What the module offers that contains all use of FFmpeg. The module has no state: any thread.
class FfmpegModule {
public:
    FfmpegModule() = default;
    FfmpegModule(const FfmpegModule&) = delete;
    FfmpegModule& operator=(const FfmpegModule&) = delete;
    virtual ~FfmpegModule() = default;

    /// Starts to encode into `file`, which is empty. Throws `AudioFileError`.
    virtual std::unique_ptr<RecordingEncoder> makeEncoder(FileDescriptor file,
                                                          const platform::AudioFormat& format) const = 0;

    /// Works as `platform::AudioFiles::read`.
    virtual platform::PcmBufferPtr read(const std::filesystem::path& path,
                                        const platform::AudioFormat& format) const = 0;
};

/// Returns the module's only object. The one function that the module exports by name.
extern "C" const FfmpegModule* sonvaleFfmpegModule();

} // namespace sonvale::adapters::ffmpeg
