#pragma once

#include "platform/AudioTypes.h"

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace sonvale::platform {

/// A file that cannot be made, written, read or decoded. `what()` is fit for the user.
class AudioFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A compressed file that is being recorded: AAC in an MPEG-4 container (.m4a), mode 0600.
///
/// Destroying it does what `close()` does and drops its error.
class AudioFileWriter {
public:
    AudioFileWriter() = default;
    AudioFileWriter(const AudioFileWriter&) = delete;
    AudioFileWriter& operator=(const AudioFileWriter&) = delete;
    virtual ~AudioFileWriter() = default;

    /// Takes a buffer of the file's format; it is encoded elsewhere, in order. Does not block and does not
    /// copy the samples: the caller must not change them before `close()`. One thread at a time. An error may
    /// cost what is written meanwhile, and is kept for `close()`; the file goes on with what comes later.
    virtual void write(PcmBufferPtr buffer) = 0;

    /// Encodes what is left and finishes the container; every frame that was written is then in the file.
    /// Blocks for some milliseconds (10 s at most). Throws the first `AudioFileError` that cost audio; what
    /// the file has can be read then too. A second call does nothing.
    virtual void close() = 0;
};

/// Makes and reads audio files. Any thread.
class AudioFiles {
public:
    AudioFiles() = default;
    AudioFiles(const AudioFiles&) = delete;
    AudioFiles& operator=(const AudioFiles&) = delete;
    virtual ~AudioFiles() = default;

    /// Makes a new file of the given format (encoder quality "high", 96 on a scale to 127). Throws
    /// `AudioFileError`, with no file left behind.
    virtual std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& path,
                                                    const AudioFormat& format) = 0;

    /// Decodes a whole file into one buffer of the given rate and channel count (channels are averaged into
    /// one). Blocks, about half a millisecond for a second of audio. A file without a single frame gives an
    /// empty buffer. Throws `AudioFileError`.
    virtual PcmBufferPtr read(const std::filesystem::path& path, const AudioFormat& format) = 0;
};

} // namespace sonvale::platform
