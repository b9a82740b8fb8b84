#pragma once

#include "platform/AudioTypes.h"

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace sonvale::platform {

/// A file that cannot be created, written, read or decoded. `what()` is fit for the user.
class AudioFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A compressed file that is being recorded: AAC in an MPEG-4 container (.m4a), mode 0600.
///
/// The destructor closes it and ignores the error.
class AudioFileWriter {
public:
    AudioFileWriter() = default;
    AudioFileWriter(const AudioFileWriter&) = delete;
    AudioFileWriter& operator=(const AudioFileWriter&) = delete;
    virtual ~AudioFileWriter() = default;

    /// Adds a buffer of the file's format. It is encoded on another thread, in order. Does not block and does
    /// not copy the samples: the caller must not change them before `close()`. One thread at a time. After an
    /// error, buffers may be lost; the first error is kept for `close()`, and the file continues with later
    /// buffers.
    virtual void write(PcmBufferPtr buffer) = 0;

    /// Encodes the rest and finishes the container. Every frame that was written is then in the file. Blocks
    /// for some milliseconds, and for up to 10 s. Throws the first `AudioFileError` that lost audio; the rest
    /// of the file can still be read. If this system cannot encode, that is such an error too, and the file
    /// is empty. A second call does nothing.
    virtual void close() = 0;
};

/// Creates and reads audio files. Any thread.
class AudioFiles {
public:
    AudioFiles() = default;
    AudioFiles(const AudioFiles&) = delete;
    AudioFiles& operator=(const AudioFiles&) = delete;
    virtual ~AudioFiles() = default;

    /// Creates a file of the given format (encoder quality "high", 96 on a scale to 127). Throws
    /// `AudioFileError` and then leaves no file.
    virtual std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& path,
                                                    const AudioFormat& format) = 0;

    /// Decodes a whole file into one buffer of the given rate and channel count; channels are averaged into
    /// one. Blocks for about half a millisecond per second of audio. A file without a frame gives an empty
    /// buffer. Throws `AudioFileError`.
    virtual PcmBufferPtr read(const std::filesystem::path& path, const AudioFormat& format) = 0;
};

} // namespace sonvale::platform
