#pragma once

#include "platform/AudioFile.h"
#include "platform/linux/FfmpegPointers.h"
#include "platform/linux/FileIo.h"
#include "platform/linux/StreamResampler.h"

#include <filesystem>

namespace sonvale::platform::linux {

/// Decodes one audio file. One thread.
class AudioFileDecoder {
public:
    /// Throws `AudioFileError` when the file cannot be opened or holds no audio.
    explicit AudioFileDecoder(const std::filesystem::path& path);
    ~AudioFileDecoder();
    AudioFileDecoder(const AudioFileDecoder&) = delete;
    AudioFileDecoder& operator=(const AudioFileDecoder&) = delete;

    /// The whole file, once, in the given format; what the encoder put before and behind the audio is cut
    /// off. Throws `AudioFileError`.
    PcmBufferPtr decode(const AudioFormat& format);

private:
    void openStream();
    void decodePacket(const AVPacket* packet);
    void takeFrame();
    void begin(const AudioFormat& source);
    void takeSamples(const float* const* samples, std::size_t frames);
    PcmBufferPtr takeOutput();

    std::unique_ptr<FileIo> file_;
    AVFormatContext* container_ = nullptr;
    const AVStream* stream_ = nullptr; ///< null: the container has not one frame
    FfmpegPointer<AVCodecContext> codec_;
    FfmpegPointer<AVPacket> packet_;
    FfmpegPointer<AVFrame> frame_;
    FfmpegPointer<SwrContext> toFloat_; ///< made when the codec does not deliver planes of floats
    AudioFormat source_;
    AudioFormat target_;
    std::int64_t framesLeft_ = 0; ///< of the source, up to the container's duration
    int firstError_ = 0;

    std::unique_ptr<StreamResampler> resampler_; ///< made with the first frame
    Planes mixed_;
    Planes output_;
};

} // namespace sonvale::platform::linux
