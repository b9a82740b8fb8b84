#pragma once

#include "adapters/ffmpeg/FfmpegModule.h"
#include "adapters/ffmpeg/module/FfmpegPointers.h"
#include "adapters/ffmpeg/module/FileIo.h"
#include "adapters/ffmpeg/module/StreamResampler.h"

#include "platform/AudioFile.h"

namespace sonvale::adapters::ffmpeg {

/// Encodes AAC. The recording has the given rate if AAC supports it, else 48 kHz. One and two channels are
/// kept. More channels are averaged into one, because an AAC layout would treat one of them as a bass channel
/// and remove its treble.
class AacEncoder final : public RecordingEncoder {
public:
    /// Encodes into `file`, which is empty. Throws `AudioFileError`.
    AacEncoder(FileDescriptor file, const platform::AudioFormat& format);
    AacEncoder(const AacEncoder&) = delete;
    AacEncoder& operator=(const AacEncoder&) = delete;
    ~AacEncoder() override;

    void encode(const platform::PcmBuffer& buffer) override;
    void finish() override;

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
