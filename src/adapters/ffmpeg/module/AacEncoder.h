#pragma once

#include "adapters/ffmpeg/module/FfmpegPointers.h"
#include "adapters/ffmpeg/module/FileIo.h"
#include "adapters/ffmpeg/module/StreamResampler.h"

#include "platform/AudioFile.h"

#include <filesystem>

namespace sonvale::adapters::ffmpeg {

/// Encodes audio into an .m4a file, on the caller's thread. One thread at a time.
///
/// The file has the given rate if AAC supports it, else 48 kHz. One and two channels are kept. More channels
/// are averaged into one, because an AAC layout would treat one of them as a bass channel and remove its
/// treble.
class AacEncoder {
public:
    /// Creates the file, mode 0600; it must not exist. Throws `AudioFileError` and then leaves no file.
    AacEncoder(const std::filesystem::path& path, const platform::AudioFormat& format);
    AacEncoder(const AacEncoder&) = delete;
    AacEncoder& operator=(const AacEncoder&) = delete;
    ~AacEncoder();

    /// Encodes one buffer. Throws `AudioFileError` if the buffer has another format. Data that the disk
    /// refuses is kept for a later attempt.
    void encode(const platform::PcmBuffer& buffer);

    /// Encodes the rest and completes the container. Must be the last call. Throws `AudioFileError` if the
    /// disk has not stored everything. The stored part can still be read, except for the end of it that is
    /// removed to make room for the container's own data if the disk stays full.
    void finish();

private:
    void openCodec();
    void openContainer();
    void take(const platform::PcmBuffer& buffer);
    void sendBlocks();
    void sendBlock(std::size_t offset, std::size_t frames);
    void writePackets();

    platform::AudioFormat format_;
    platform::AudioFormat coded_;
    FfmpegPointer<AVCodecContext> codec_;
    FfmpegPointer<AVFrame> frame_;
    FfmpegPointer<AVPacket> packet_;
    std::unique_ptr<FileIo> file_;
    AVFormatContext* container_ = nullptr;
    AVStream* stream_ = nullptr;
    StreamResampler resampler_;
    Planes mixed_;
    Planes pending_;
    std::int64_t framesSent_ = 0;
};

} // namespace sonvale::adapters::ffmpeg
